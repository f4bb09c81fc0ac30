/// Requests: to the server that the client has chosen, to every helper whose MAC is known, or out of the route port.
#include <algorithm>

#include "base/log.h"
#include "relay/forward.h"
#include "relay/helpers.h"
#include "relay/request.h"
#include "relay/rewrite.h"

namespace dhcp::relay {

namespace {

constexpr std::span<uint8_t> buffer_of(uint8_t* out) { return {out, DHCPR_BUFFER_SIZE}; }
constexpr uint16_t low16(uint32_t number) { return static_cast<uint16_t>(number); }

void log_built(const Request& request) {
  const size_t size = request.bytes().size();
  DHCP_LOG_IN("DHCPR_handler", base::module_relay, "dhcp_relay",
              "recv_len = %d 60flg=%d 82flg=%d len = %u , *pRecv = 0x%X\r\n", static_cast<int>(request.end()), 0,
              request.has_option82() ? 1 : 0, static_cast<unsigned>(size),
              static_cast<unsigned>(request.bytes()[request.end()]));
}

/// Where a request came in.
struct Ingress {
  uint32_t intf;
  uint16_t vlan;
};

/// The helpers to send to, as they are now: the one that the client has chosen, whether its MAC is known or not, else
/// all whose MAC is known. Copies, so that nobody waits for the list while frames are sent.
Helpers::Copies choose_helpers(const Request& request, bool& chosen) {
  const std::optional<uint32_t> server = request.server();
  auto picked =
      helpers().copies([&](const DhcpServerNode& node) { return node.valid == 1 || (server && node.ip == *server); });
  const auto* named =
      std::find_if(picked.begin(), picked.end(), [&](const auto& copy) { return server && copy.node.ip == *server; });
  chosen = named != picked.end();
  if (chosen) {
    picked.items[0] = *named;
    picked.count = 1;
  }
  return picked;
}

void count_requests(const Helpers::Copies& sent) {
  helpers().each(
      [next = sent.begin(), end = sent.end()](const DhcpServerNode& node, base::HelperCounters& count) mutable {
        if (next != end && next->node.ip == node.ip) {
          ++next;
          count.requests.fetch_add(1, std::memory_order_relaxed);
        }
        return next != end;
      });
}

/// The frame stands built in `frame`; each helper's fields are written over those of the one before.
bool send_to_helpers(const Request& request, const Helpers::Copies& to, std::span<uint8_t> frame, const Ingress& from) {
  std::optional<uint32_t> relay_ip;
  uint32_t vlan_of_ip = 0;
  for (const auto& [helper, requests, replies] : to) {
    if (!relay_ip || helper.vlan != vlan_of_ip) relay_ip = address_in(vlan_of_ip = helper.vlan);
    DHCPR_bcm_tagging(frame.data(), 0, low16(helper.vlan), 1);
    if (!relay_ip || !fit_to_helper(frame.data(), request.hops(), *relay_ip, helper)) return false;
    log_built(request);
    send_built(frame, from.intf, from.vlan, true);
  }
  return true;
}

Outcome route(const Request& request, skpack& skp, const Helpers::Copies& to, bool chosen, std::span<uint8_t> buffer,
              const Ingress& from) {
  const size_t size = request.copy_to(buffer, low16(from.intf), from.vlan);
  if (size == 0) return {-1, DHCPR_REQUEST_MALFORMED};
  if (!send_to_helpers(request, to, buffer.first(size), from)) return {-1, DHCPR_REQUEST_NOT_SENT};
  if (chosen) skp.psize = static_cast<uint32_t>(size);
  count_requests(to);
  return {0, DHCPR_REQUEST_ROUTED};
}

/// Layer 3 as the client sent it, out of the route port. In management-VLAN mode there is no such way.
Outcome pass_on(const Request& request, skpack& skp, std::span<uint8_t> buffer, const Ingress& from) {
  const size_t size = request.copy_to(buffer, low16(from.intf), from.vlan);
  if (size == 0) return {-1, DHCPR_REQUEST_MALFORMED};
  skp.psize = static_cast<uint32_t>(size);
  const bool no_way = management_vlan_mode();
  DHCPR_bcm_tagging(buffer.data(), 0, 0, 0);
  log_built(request);
  if (!send_built(buffer.first(size), from.intf, from.vlan, false)) return {0, DHCPR_REQUEST_NOT_SENT};
  return {0, no_way ? DHCPR_REQUEST_NO_HELPER : DHCPR_REQUEST_TO_PORT};
}

Outcome hand_on(const Request& request, skpack& skp, std::span<uint8_t> buffer, const Ingress& from) {
  if (management_vlan_mode()) {
    bool chosen = false;
    const auto to = choose_helpers(request, chosen);
    if (to.count != 0) return route(request, skp, to, chosen, buffer, from);
  }
  return pass_on(request, skp, buffer, from);
}

}  // namespace

Outcome relay_request(skpack& skp, uint32_t in_intf, uint32_t vlan) {
  uint8_t* out = shared(dhcpr_cfg.send_buf).load();
  if (out == nullptr || skp.data == nullptr) return {-1, DHCPR_REQUEST_NOT_SENT};
  const auto request = Request::parse({skp.data, skp.psize});
  if (!request) return {-1, DHCPR_REQUEST_MALFORMED};
  const Ingress from{in_intf, low16(vlan)};
  Outcome outcome = hand_on(*request, skp, buffer_of(out), from);
  outcome.type = request->message_type();
  return outcome;
}

}  // namespace dhcp::relay

int DHCPR_send_reqeust_packet(skpack* skp, uint32_t in_intf, uint32_t vlan) {
  return dhcp::relay::relay_request(*skp, in_intf, vlan).result;
}

int DHCPR_handler(const uint8_t* frame, uint8_t* out, uint32_t* len, uint16_t port, uint16_t vlan, int l3,
                  const DhcpServerNode* server) {
  using namespace dhcp::relay;
  // The walk over the options is one for frames that may be changed; here nothing is.
  const auto request = Request::parse({const_cast<uint8_t*>(frame), *len});
  if (!request) return -1;
  const size_t size = request->copy_to(buffer_of(out), port, vlan);
  if (size == 0) return -1;
  DHCPR_bcm_tagging(out, 0, server != nullptr ? low16(server->vlan) : 0, l3);
  const bool routed = l3 == 1 && management_vlan_mode() && server != nullptr;
  if (routed && DHCPR_modify_request_packet_ip_mac(out, server->vlan, server) != 0) return -1;
  log_built(*request);
  *len = static_cast<uint32_t>(size);
  return 0;
}
