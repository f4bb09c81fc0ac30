#include "soak/residents.h"

#include <algorithm>
#include <map>

#include "base/list.h"
#include "dhcp/client6.h"
#include "dhcp/relay.h"
#include "dhcp/server.h"
#include "dhcp/server6.h"
#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "soak/report.h"

namespace soak {

using wire::Message;
using wire::Message6;
using wire::operator+;

namespace {

constexpr uint32_t long_s = 30 * 86400;
const wire::Ip6 own_leased = wire::ip6("2001:db8:1e::5");

/// The answer to a resident of the switch's own server.
std::optional<wire::Reply> answer4() {
  const auto frames = Switch::sent();
  if (frames.empty()) return std::nullopt;
  const wire::Reply reply(frames.back());
  if (!reply.faults.empty()) violated("an answer has faults: %s", reply.faults.c_str());
  return reply;
}

/// The address in the answer of the switch's own DHCPv6 server.
std::optional<wire::Ip6> answer6(int type) {
  const auto frames = Switch::sent();
  if (frames.empty()) return std::nullopt;
  const wire::Reply6 reply(frames.back().bytes);
  if (!reply.faults.empty()) violated("a DHCPv6 answer has faults: %s", reply.faults.c_str());
  const Bytes ia = reply.option(3);
  if (static_cast<int>(reply.type) != type || ia.size() != 40) return std::nullopt;
  return wire::array_at<wire::Ip6>(ia, 16);
}

Bytes id_of(const Mac& mac) { return wire::option6(1, Bytes{0, 3, 0, 1} + Bytes(mac.begin(), mac.end())); }
Bytes own_server_id() { return wire::option6(2, {std::begin(dhcp6s_cfg.duid), std::end(dhcp6s_cfg.duid)}); }
Bytes ia_of(const wire::Ip6& ip) { return wire::ia_na(1, wire::ia_address(ip, long_s, long_s)); }

wire::Ip6 snooped_ip6(uint32_t n) {
  auto ip = wire::ip6("2001:db8:77::");
  ip[15] = static_cast<uint8_t>(n + 1);
  return ip;
}

bool in_conflict(uint32_t ip) { return dhcp_get_conflict_ip(&dhcps_cfg.conflicts.head, ip) != nullptr; }

/// What a server behind the uplink says to a client that it lets have the address.
Message ack_of(const Mac& mac, uint32_t ip) {
  return Message(wire::ACK, mac)
      .at(0, {2})
      .at(16, wire::be32(ip))
      .ip_option(51, long_s)
      .from(server_mac)
      .from_ip(server_ip);
}

}  // namespace

void Residents::move_in() {
  all_ = {};
  own_bound_ = false;
  for (uint32_t n = 0; n < count; ++n) {
    fake::device().mac_table[{mac_of(n), client_vlan}] = port_of(n);
    if (switch_.life() == Life::relays) continue;
    lease4(n);
    lease6(n);
  }
}

void Residents::return_after_restart() {
  own_bound_ = false;
  if (!snoops(switch_.life())) move_in();
}

void Residents::lease4(uint32_t n) {
  const Mac mac = mac_of(n);
  if (snoops(switch_.life())) {
    const uint32_t ip = wire::ip(172, 31, 77, n + 1);
    say4(Message(wire::DISCOVER, mac), port_of(n));
    say4(ack_of(mac, ip), uplink);
    all_[n].ip = ip;
    return;
  }
  say4(Message(wire::DISCOVER, mac), port_of(n));
  const auto offer = answer4();
  if (!offer || offer->type != wire::OFFER) return;  // the pool is full of strangers
  say4(Message(wire::REQUEST, mac).ip_option(54, own_ip).ip_option(50, offer->yiaddr), port_of(n));
  const auto ack = answer4();
  if (!ack || ack->type != wire::ACK || ack->yiaddr != offer->yiaddr) violated("resident %u: an offer is not kept", n);
  all_[n].ip = ack->yiaddr;
}

void Residents::lease6(uint32_t n) {
  const Mac mac = mac_of(n);
  if (snoops(switch_.life())) {
    say6(Message6(wire::SOLICIT6, mac, id_of(mac)), port_of(n));
    say6(Message6(wire::REPLY6, server_mac, id_of(mac) + ia_of(snooped_ip6(n)))
             .from_server()
             .from_ip(wire::ip6("fe80::1"))
             .to(mac, wire::ip6("fe80::2")),
         uplink);
    all_[n].ip6 = snooped_ip6(n);
    return;
  }
  say6(Message6(wire::SOLICIT6, mac, id_of(mac) + wire::ia_na(1, {})), port_of(n));
  const auto offered = answer6(wire::ADVERTISE6);
  if (!offered) return;
  say6(Message6(wire::REQUEST6, mac, id_of(mac) + own_server_id() + ia_of(*offered)), port_of(n));
  if (answer6(wire::REPLY6) != offered) violated("resident %u: an advertised address is not given", n);
  all_[n].ip6 = offered;
}

void Residents::renew4(uint32_t n) {
  if (!all_[n].ip) return lease4(n);
  const uint32_t ip = *all_[n].ip;
  say4(Message(wire::REQUEST, mac_of(n)).ciaddr(ip), port_of(n));
  if (snoops(switch_.life())) {
    say4(ack_of(mac_of(n), ip), uplink);
    return;
  }
  const auto ack = answer4();
  if (in_conflict(ip)) return;  // somebody has declined it: its lease is not prolonged
  if (!ack || ack->type != wire::ACK || ack->yiaddr != ip) violated("resident %u: a renewal is refused", n);
}

void Residents::renew6(uint32_t n) {
  if (!all_[n].ip6 || snoops(switch_.life())) return lease6(n);
  const Mac mac = mac_of(n);
  say6(Message6(wire::RENEW6, mac, id_of(mac) + own_server_id() + ia_of(*all_[n].ip6)), port_of(n));
  if (answer6(wire::REPLY6) != all_[n].ip6) violated("resident %u: a DHCPv6 renewal is refused", n);
}

/// Gives the address up; the check that it has gone comes at once, since strangers may take it next.
void Residents::release4(uint32_t n) {
  if (!all_[n].ip) return;
  const uint32_t ip = *all_[n].ip;
  say4(Message(wire::RELEASE, mac_of(n)).ip_option(54, own_ip).ciaddr(ip), port_of(n));
  all_[n].ip.reset();
  if (snoops(switch_.life())) {
    if (find_MacBindStruct(mac_of(n).data(), 0) != nullptr)
      violated("resident %u: its binding outlives its RELEASE", n);
    return;
  }
  for (const DhcpBinding& lease : dhcp::base::Records<DhcpBinding>(dhcps_cfg.bindings.head)) {
    if (lease.ip == ip) violated("resident %u: its lease outlives its RELEASE", n);
  }
}

/// From another port, with its MAC: what moves nothing and ends nothing.
void Residents::impersonate(uint32_t n) {
  if (!all_[n].ip || !all_[n].ip6) return;  // nobody to be
  const uint32_t port = 9 + dice_.below(8);
  const int types[] = {wire::DISCOVER, wire::REQUEST, wire::DECLINE, wire::RELEASE, wire::INFORM};
  const int type = types[dice_.below(5)];
  say4(Message(type, mac_of(n)).ciaddr(*all_[n].ip).ip_option(54, server_ip).xid(dice_.word()), port);
  say4(Message(wire::ACK, mac_of(n)).at(0, {2}).at(16, wire::be32(dice_.word())).from(server_mac), port);
  const int types6[] = {wire::SOLICIT6, wire::REQUEST6, wire::RENEW6, wire::DECLINE6, wire::REPLY6};
  say6(Message6(types6[dice_.below(5)], mac_of(n), id_of(mac_of(n)) + ia_of(snooped_ip6(99))), port);
}

/// A question of its goes to the helper, and the answer back to its port.
void Residents::ask_relay(uint32_t n) {
  Switch::sent();
  say4(Message(wire::DISCOVER, mac_of(n)), port_of(n));
  const auto asked = Switch::sent();
  if (asked.empty() || asked[0].vlan != server_vlan) violated("resident %u: its DISCOVER is not relayed", n);
  say4(Message(wire::OFFER, mac_of(n))
           .at(0, {2})
           .at(16, wire::be32(wire::ip(192, 168, 0, 77)))
           .ip_option(54, server_ip)
           .vlan(server_vlan)
           .from(server_mac)
           .from_ip(server_ip)
           .unicast_to(own_mac, wire::ip(10, 20, 0, 1)),
       uplink);
  const auto answered = Switch::sent();
  if (answered.empty() || answered[0].vlan != client_vlan) violated("resident %u: its OFFER does not come back", n);
}

void Residents::act() {
  const uint32_t n = dice_.below(count);
  if (switch_.life() == Life::relays) return ask_relay(n);
  switch (dice_.below(6)) {
    case 0:
    case 1: renew4(n); break;
    case 2:
    case 3: renew6(n); break;
    case 4:
      release4(n);
      lease4(n);
      break;
    default:
      if (snoops(switch_.life())) impersonate(n);
  }
  Switch::sent();
}

void Residents::answer_own_client() {
  const Dhcp6cInterfaceNode* node = dhcp6c_find_interface_node(own_vlan);
  if (node == nullptr) violated("the switch's own interface has left DHCPv6 mode");
  int type = 0;
  if (node->state == DHCPC6_INIT && node->tries > 0) type = wire::ADVERTISE6;
  if (node->state == DHCPC6_REQUESTING && node->requesting != 0) type = wire::REPLY6;
  if (node->state == DHCPC6_RENEW || node->state == DHCPC6_REBIND) type = wire::REPLY6;
  if (type == 0) return;
  say6(Message6(type, server_mac,
                wire::option6(1, {0, 3, 0, 1, 2, 0, 0, 0, 0, 1}) + wire::option6(2, {0, 2, 0, 9, 9}) +
                    wire::ia_na(own_vlan, wire::ia_address(own_leased, long_s, long_s), 86400, 2 * 86400))
           .xid(node->xid)
           .vlan(own_vlan)
           .from_server()
           .from_ip(wire::ip6("fe80::1"))
           .to(own_mac, wire::ip6("fe80::ff:fe00:1")),
       uplink);
  own_bound_ = own_bound_ || node->state == DHCPC6_BOUND;
}

void Residents::check() {
  if (serves(switch_.life())) check_leases();
  if (snoops(switch_.life())) check_bindings();
  check_own_client();
}

void Residents::check_leases() {
  std::map<Mac, uint32_t> held;
  for (const DhcpBinding& lease : dhcp::base::Records<DhcpBinding>(dhcps_cfg.bindings.head)) {
    if (lease.state == DHCPS_ACKNOWLEDGED)
      held[wire::array_at<Mac>({lease.client_id, lease.client_id + 6}, 0)] = lease.ip;
  }
  std::map<Mac, wire::Ip6> held6;
  for (const Dhcp6Binding& lease : dhcp::base::Records<Dhcp6Binding>(dhcp6s_cfg.bindings.head)) {
    const Bytes id(lease.client_id, lease.client_id + 10);
    if (lease.state == DHCP6S_BOUND) held6[wire::array_at<Mac>(id, 4)] = std::to_array(lease.ip6);
  }
  for (uint32_t n = 0; n < count; ++n) {
    checked_ += (all_[n].ip ? 1U : 0U) + (all_[n].ip6 ? 1U : 0U);
    const auto at = held.find(mac_of(n));
    if (all_[n].ip && (at == held.end() || at->second != *all_[n].ip)) violated("resident %u: its lease is lost", n);
    const auto at6 = held6.find(mac_of(n));
    if (all_[n].ip6 && (at6 == held6.end() || at6->second != *all_[n].ip6)) {
      violated("resident %u: its DHCPv6 lease is lost", n);
    }
  }
}

void Residents::check_bindings() {
  for (uint32_t n = 0; n < count; ++n) {
    checked_ += (all_[n].ip ? 1U : 0U) + (all_[n].ip6 ? 1U : 0U);
    if (all_[n].ip) {
      const MacBindStruct* bound = find_MacBindStruct(mac_of(n).data(), 0);
      if (bound == nullptr || bound->state != 1 || bound->ip != *all_[n].ip)
        violated("resident %u: its binding is lost", n);
      if (bound->intf != port_of(n) || bound->vlan != client_vlan) violated("resident %u: it was moved", n);
      const MacBindStruct* holder = find_VlanIp_entry(client_vlan, *all_[n].ip);  // none while the table is full
      if (holder != nullptr && holder != bound) violated("resident %u: its address is another's", n);
    }
    if (all_[n].ip6) {
      const MacBind6Struct* bound = find_MacBind6Struct(mac_of(n).data(), 0);
      if (bound == nullptr || bound->state != 1 || !std::equal(all_[n].ip6->begin(), all_[n].ip6->end(), bound->ip6)) {
        violated("resident %u: its DHCPv6 binding is lost", n);
      }
      if (bound->intf != port_of(n) || bound->vlan != client_vlan) violated("resident %u: it was moved for DHCPv6", n);
    }
  }
}

void Residents::check_own_client() {
  if (!own_bound_) return;
  Dhcp6cInterface own{};
  if (dhcp6c_get_interfaces(&own, 1) != 1 || own.has_address == 0 || std::to_array(own.address) != own_leased) {
    violated("the switch's own interface has lost its address");
  }
  ++checked_;
}

}  // namespace soak
