/// The decision on a DHCPv4 frame: its door, the gate that every frame passes, and the one place where a fate becomes
/// a log text, a count and an answer.
#include "snooping/inspect.h"

#include "base/log.h"
#include "base/os.h"
#include "base/port_list.h"
#include "base/text.h"
#include "snooping/counters.h"

namespace dhcp::snooping {

namespace {

using packet::MessageType;

/// A client that was not bound yet is where it was last heard.
void stamp_learning(const Inspection& in, MacBindStruct& binding) {
  binding.time = static_cast<int32_t>(base::now32());
  binding.intf = binding.new_intf = in.in_intf();
  binding.vlan = binding.new_vlan = in.vlan();
}

/// The entry is made here, before anything else is known of the frame: on trusted ports and in VLANs that are not
/// snooped too. Exemption of the sender's own MAC is not asked yet.
Step admit_client(Inspection& in) {
  const MacBindStruct* binding = in.create_binding();
  if (binding == nullptr) return Outcome{DHCP_SNOOP_TABLE_FULL};
  if (source_is_checked(*binding) && in.frame().source() != in.client()) return Outcome{DHCP_SNOOP_SOURCE_MAC};
  return std::nullopt;
}

void log_received(const Inspection& in) {
  const auto number = static_cast<int>(base::interface_number(in.in_intf()));
  if (base::is_group(in.in_intf())) {
    DHCP_LOG(base::module_service, "DHCPS_packet", "recv a dhcp packet:vlan(%d),agg(%d),message_type(%d)", in.vlan(),
             number, in.type());
  } else {
    DHCP_LOG(base::module_service, "DHCPS_packet", "recv a dhcp packet:vlan(%d),port(%d),message_type(%d)", in.vlan(),
             number, in.type());
  }
}

/// An ACK belongs to the VLAN of the client's binding, whatever its own tag says.
bool snooped(Inspection& in) {
  if (!in.is(MessageType::ack)) return vlan_snooped(in.vlan());
  const MacBindStruct* binding = in.binding();
  return binding != nullptr && vlan_snooped(binding->vlan);
}

Outcome inspect(Inspection& in) {
  if (const Step stopped = gate(in)) return *stopped;
  const bool trusted = in.port().trust != 0;
  if (const Step stopped = trusted ? server_side(in) : client_side(in)) return *stopped;
  return trusted ? forward_from_trusted(in) : forward_from_client(in);
}

std::optional<int> message_type(const packet::Message4& message) {
  const auto value = packet::find_in_message(message, packet::option::message_type);
  if (!value || value->empty()) return std::nullopt;
  return value->front();
}

/// Where an outcome becomes what the log, the counters and the dispatcher are told.
int conclude(uint32_t in_intf, const IntfNode* port, int type, const Outcome& outcome) {
  if (outcome.verdict == DHCP_SNOOP_SERVER_ON_UNTRUSTED || outcome.verdict == DHCP_SNOOP_SERVER_NOT_LISTED) {
    snoop_count_dropped(in_intf, type);
  }
  if (outcome.text != nullptr) DHCP_LOG(base::module_service, "DHCPS_packet", "%s", outcome.text);
  frame_counts.count(port != nullptr ? in_intf : 0, outcome.verdict, static_cast<unsigned>(type));
  return outcome.passed ? 0 : -1;
}

int process(skpack& skp, const std::optional<packet::Frame4>& frame) {
  IntfNode* port = interfaces.find(skp.in_intf);
  const auto ends = [&](DhcpSnoopVerdict verdict) { return conclude(skp.in_intf, port, 0, {verdict}); };
  if (!frame) return ends(DHCP_SNOOP_MALFORMED);
  if (port == nullptr) return ends(DHCP_SNOOP_UNKNOWN_PORT);
  if (port->suppression != 0) return ends(DHCP_SNOOP_SUPPRESSED);
  const auto type = message_type(frame->message());
  if (!type) return ends(DHCP_SNOOP_NO_MESSAGE_TYPE);
  Inspection in(skp, *frame, *port, *type);
  return conclude(skp.in_intf, port, *type, inspect(in));
}

}  // namespace

MacBindStruct* Inspection::binding() {
  if (!looked_up_) {
    binding_ = find_MacBindStruct(client_.bytes.data(), 0);
    looked_up_ = true;
  }
  return binding_;
}

MacBindStruct* Inspection::create_binding() {
  if (binding_ == nullptr) binding_ = find_MacBindStruct(client_.bytes.data(), 1);
  looked_up_ = true;
  return binding_;
}

void Inspection::release_binding() {
  if (binding_->is_static == 0) {
    __del_MacBindStruct(binding_);
    binding_ = nullptr;
  } else if (binding_->ip != 0) {
    del_VlanIp_table(binding_);
    binding_->ip = 0;
  }
}

bool source_is_checked(const MacBindStruct& binding) {
  return g_dhcp_snooping.verify_enable == 1 &&
         (binding.verify == nullptr || binding.verify->mode == verify_as_any_other);
}

Step gate(Inspection& in) {
  const bool from_client = in.is(MessageType::discover) || in.is(MessageType::request);
  if (from_client) {
    if (const Step stopped = admit_client(in)) return stopped;
  }
  const uint32_t cookie = packet::load_be32(in.message().field(packet::dhcp4::cookie).data());
  if (cookie != packet::dhcp4::magic_cookie) return Outcome{DHCP_SNOOP_BAD_COOKIE};
  log_received(in);
  if (from_client && in.binding()->state == state_learning) stamp_learning(in, *in.binding());
  if (!snooped(in)) return forward_unsnooped(in);
  return std::nullopt;
}

void log_binding(const char* function, int line, const char* what, const MacBindStruct& binding) {
  const uint8_t* mac = binding.mac;
  DHCP_LOG_FROM(function, line, 7, base::module_service, "DHCPS_packet",
                "[%s-%d]%sdhcp snooping macnode mac[%02x:%02x:%02x:%02x:%02x:%02x] ipaddr[%s] vlan[%d] interface[%d]\n",
                function, line, what, mac[0], mac[1], mac[2], mac[3], mac[4], mac[5], base::IpText(binding.ip).c_str(),
                binding.vlan, static_cast<int>(binding.intf));
}

}  // namespace dhcp::snooping

int dhcp_packet_snooping_process(skpack* skp) {
  using namespace dhcp;
  if (skp->ud_hdr == nullptr) {
    snooping::frame_counts.count(0, DHCP_SNOOP_MALFORMED, 0);
    return -1;
  }
  const auto frame = packet::Frame4::parse(*skp);
  const snooping::SnoopingLock lock;
  return snooping::process(*skp, frame);
}
