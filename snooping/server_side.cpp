/// Messages on a trusted port: a server of the list may answer, and its ACK completes the client's binding.
#include "base/log.h"
#include "base/os.h"
#include "base/text.h"
#include "binding/clocks.h"
#include "snooping/inspect.h"

namespace dhcp::snooping {

namespace {

using packet::MessageType;

constexpr int32_t default_static_lease_s = 3600, default_lease_s = 86400;

/// The address that the ACK gives: the client's own where the two differ.
uint32_t acknowledged_address(const packet::Message4& ack) {
  return ack.ciaddr() != 0 && ack.ciaddr() != ack.yiaddr() ? ack.ciaddr() : ack.yiaddr();
}

/// The address is a key of the (VLAN, address) index: a binding leaves it before its key changes.
void set_address(MacBindStruct& binding, uint32_t ip) {
  if (binding.ip != ip) del_VlanIp_table(&binding);
  binding.ip = ip;
}

/// Option 51 (RFC 2132 section 9.2) where present; a lease of 0 becomes `otherwise`.
void set_lease(MacBindStruct& binding, const packet::Message4& ack, int32_t otherwise) {
  const auto value = packet::find_in_message(ack, packet::option::lease_time);
  if (value && value->size() >= 4) binding.lease = static_cast<int32_t>(packet::load_be32(value->data()));
  if (binding.lease == 0) binding.lease = otherwise;
}

void acknowledge_static(const packet::Message4& ack, MacBindStruct& binding) {
  binding.time = static_cast<int32_t>(base::now32());
  set_address(binding, acknowledged_address(ack));
  set_lease(binding, ack, default_static_lease_s);
}

/// The client was heard elsewhere since the last ACK: it is there now.
void move_binding(MacBindStruct& binding) {
  DHCP_LOG(base::module_service, "DHCPS_packet", "[%s-%d]the packet old vlan:%d old interface:%d\n", __func__, __LINE__,
           binding.vlan, static_cast<int>(binding.intf));
  DHCP_LOG(base::module_service, "DHCPS_packet", "[%s-%d]the packet chg vlan:%d chg interface:%d\n", __func__, __LINE__,
           binding.new_vlan, static_cast<int>(binding.new_intf));
  log_binding(__func__, __LINE__, "del ", binding);
  del_VlanIp_table(&binding);
  binding.vlan = binding.new_vlan;
  binding.intf = binding.new_intf;
}

void leave_old_address(const packet::Message4& ack, MacBindStruct& binding) {
  DHCP_LOG(base::module_service, "DHCPS_packet", "[%s-%d]the packet ipaddr:%s  yiaddr:%s\n", __func__, __LINE__,
           base::IpText(binding.ip).c_str(), base::IpText(ack.yiaddr()).c_str());
  if (binding.ip == ack.yiaddr()) return;
  log_binding(__func__, __LINE__, "del ", binding);
  del_VlanIp_table(&binding);
}

void acknowledge_dynamic(const packet::Message4& ack, MacBindStruct& binding) {
  log_binding(__func__, __LINE__, "", binding);
  if (binding.vlan != binding.new_vlan || binding.intf != binding.new_intf) {
    move_binding(binding);
  } else if (binding.state == state_bound) {
    leave_old_address(ack, binding);
  }
  set_address(binding, acknowledged_address(ack));
  set_lease(binding, ack, default_lease_s);
  binding::note_lease(g_dhcp_snooping.min_lease, binding.lease);
  binding.state = state_bound;
  binding.time = static_cast<int32_t>(base::now32());
  log_binding(__func__, __LINE__, "insert ", binding);
}

void acknowledge(const packet::Message4& ack, MacBindStruct& binding) {
  if (binding.is_static != 0) {
    acknowledge_static(ack, binding);
  } else {
    acknowledge_dynamic(ack, binding);
  }
  insert_VlanIp_table(&binding);
  set_bind_changed();
}

}  // namespace

Step server_side(Inspection& in) {
  DHCP_LOG(base::module_service, "DHCPS_packet", "[%s-%d]the packet type is:%d\n", __func__, __LINE__, in.type());
  if (in.in_set(server_types) && check_serverip_valid(in.frame().ip_source()) == 0) {
    return Outcome{DHCP_SNOOP_SERVER_NOT_LISTED, "the source ip addr is invalid in the packet,so drop the packet"};
  }
  if (in.is(MessageType::ack) && in.binding() != nullptr) acknowledge(in.message(), *in.binding());
  if (in.is(MessageType::release) && in.binding() != nullptr && in.binding_is_here(*in.binding())) {
    in.release_binding();
  }
  return std::nullopt;
}

}  // namespace dhcp::snooping
