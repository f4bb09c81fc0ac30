/// The end of a frame's way: on to relay and server, or out of the switch, with option 82 put in or taken out.
#include <algorithm>

#include "base/log.h"
#include "base/services.h"
#include "packet/egress.h"
#include "snooping/inspect.h"
#include "snooping/option82.h"

namespace dhcp::snooping {

namespace {

/// Where a frame is rewritten: one at a time, since the snooping lock is held for the whole of it.
uint8_t rewritten[rewrite_room];

/// The frame in hand, rewritten; empty when it cannot be.
std::span<uint8_t> rewrite(const Inspection& in, Rewrite mode) {
  const size_t size = rewrite_option82(in.frame().bytes(), rewritten, mode, {in.vlan(), in.in_intf(), 0});
  return {rewritten, size};
}

void send(skpack& frame, const Inspection& in) { dhcp_snooping_send_packet(&frame, in.in_intf(), in.vlan()); }

void send_rewritten(std::span<uint8_t> frame, const Inspection& in) {
  skpack record = packet::frame_buffer(frame);
  record.in_intf = in.in_intf();
  send(record, in);
}

/// A received buffer has room for any frame that can be rewritten. The headers stay where their pointers point.
void put_back(std::span<const uint8_t> frame, skpack& buffer) {
  std::copy(frame.begin(), frame.end(), buffer.head);
  buffer.psize = static_cast<uint32_t>(frame.size());
}

/// The numbers in these texts say at which place the way parted.
constexpr Outcome to_relay_from_client{DHCP_SNOOP_PASSED, "in 1,goto dhcp relay function", true};
constexpr Outcome to_relay_from_trusted{DHCP_SNOOP_PASSED, "in 2,goto dhcp relay function", true};
constexpr Outcome to_services{DHCP_SNOOP_NOT_SNOOPED, "in 3,goto dhcp relay or dhcp server function", true};

}  // namespace

Outcome forward_unsnooped(Inspection& in) {
  if (base::relay_on() || base::server_on()) return to_services;
  send(in.buffer(), in);
  return {DHCP_SNOOP_NOT_SNOOPED, "the packet vlan is not dhcp snooping vlan,forward it"};
}

/// Only the relay is asked for: with it off, a client on an untrusted port does not reach the switch's own server.
Outcome forward_from_client(Inspection& in) {
  const bool relay = base::relay_on();
  if (g_dhcp_snooping.option82_enable != 1) {
    if (relay) return to_relay_from_client;
    send(in.buffer(), in);
    return {DHCP_SNOOP_FORWARDED, "forward the request packet."};
  }
  const auto frame = rewrite(in, Rewrite::add);
  if (frame.empty()) return {DHCP_SNOOP_OPTION82_FAILED};
  if (relay) {
    put_back(frame, in.buffer());
    return to_relay_from_client;
  }
  send_rewritten(frame, in);
  return {DHCP_SNOOP_FORWARDED, "add option82,forward the request packet."};
}

Outcome forward_from_trusted(Inspection& in) {
  if (base::relay_on()) return to_relay_from_trusted;
  const bool strip = g_dhcp_snooping.option82_enable == 1 && in.in_set(server_types) && in.binding() != nullptr &&
                     in.carries(packet::option::agent_information);
  if (!strip) {
    DHCP_LOG(base::module_service, "DHCPS_packet", "[%s-%d]forward the reply packet.", __func__, __LINE__);
    send(in.buffer(), in);
    return {DHCP_SNOOP_FORWARDED};
  }
  const auto frame = rewrite(in, Rewrite::strip);
  if (frame.empty()) return {DHCP_SNOOP_OPTION82_FAILED};
  send_rewritten(frame, in);
  return {DHCP_SNOOP_FORWARDED, "add option82,forward the reply packet."};
}

}  // namespace dhcp::snooping
