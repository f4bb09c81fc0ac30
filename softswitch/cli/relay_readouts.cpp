/// What the relay knows of its helpers, and what became of the frames.
#include "dhcp/relay.h"
#include "platform/text.h"
#include "softswitch/cli/readout.h"
#include "softswitch/cli/readout_file.h"
#include "softswitch/cli/words.h"

namespace dhcp::softswitch::cli {
namespace {

std::vector<DhcpRelayHelper> all_helpers() {
  std::vector<DhcpRelayHelper> helpers(DHCPR_MAX_HELPERS);
  helpers.resize(dhcp_relay_get_helpers(helpers.data(), helpers.size()));
  return helpers;
}

Outcome show_helpers(Readout& out, const Args&) {
  const auto right = Align::right;
  Table table({{"helper", "Helper"},
               {"next_hop_mac", "Next hop"},
               {"vlan", "VLAN", right},
               {"state", "State"},
               {"age", "Age, s", right},
               {"requests", "Requests", right},
               {"replies", "Replies", right}});
  for (const DhcpRelayHelper& helper : all_helpers()) {
    const auto when_valid = [&](const Cell& cell) { return helper.valid != 0 ? cell : none(); };
    table.add({dotted(helper.ip), when_valid(mac_text(helper.mac)), when_valid(helper.vlan),
               helper.valid != 0 ? "valid" : "probing", when_valid(helper.age), helper.requests, helper.replies});
  }
  out.add(table);
  return {};
}

Outcome show_statistics(Readout& out, const Args&) {
  DhcpRelayCounters counters{};
  dhcp_relay_get_counters(&counters);
  Table table({{"fate", "Fate"}, {"frames", "Frames", Align::right}});
  for (int verdict = 0; verdict < DHCPR_VERDICTS; ++verdict)
    table.add({dhcp_relay_verdict_name(static_cast<DhcpRelayVerdict>(verdict)), counters.verdicts[verdict]});
  out.add(table, "fates");
  out.set("unknown_destination", counters.unknown_destination);
  out.set("transactions", counters.transactions);
  out.say(format("\n%u of them to a MAC that the switch does not know\n", counters.unknown_destination));
  out.say(format("%u of %d transactions in use\n", counters.transactions, DHCPR_TRANSACTIONS));
  return {};
}

Json relay() {
  int status = DHCPR_OFF, trust = 0, port = 0, tag_mode = 0, vlan = 0;
  DHCPR_get_sts(&status);
  DHCPR_get_trust(&trust);
  DHCPR_get_route_port(&port);
  DHCPR_get_route_vlan(&tag_mode, &vlan);
  Json helpers = Json::array();
  for (const DhcpRelayHelper& helper : all_helpers()) {
    const bool valid = helper.valid != 0;
    helpers.push_back(
        Json::object({{"helper", dotted(helper.ip)}, {"vlan", valid ? Json(helper.vlan) : Json()}, {"valid", valid}}));
  }
  return Json::object({{"enabled", status != DHCPR_OFF},
                       {"management_vlan", status == DHCPR_ON_MANAGEMENT_VLAN},
                       {"trust_client_option82", trust != 0},
                       {"option82", DHCPR_get_option82_status() != 0},
                       {"route_port", str_intf_id(static_cast<uint32_t>(port))},
                       {"route_tag_mode", tag_mode},
                       {"route_vlan", vlan != 0 ? Json(vlan) : Json()},
                       {"helpers", helpers}});
}

constexpr Modes exec = in(Mode::exec);

constexpr Command rows[] = {
    {exec, "show ip helper-address", "Helpers, their next hops, and what they were asked and answered", show_helpers,
     "show ip helper-address"},
    {exec, "show ip dhcp relay", "State of the relay and its helpers", show_readout<show_dhcp_relay_info, relay>,
     "show ip dhcp relay"},
    {exec, "show ip dhcp relay statistics", "What became of the frames", show_statistics,
     "show ip dhcp relay statistics"},
};

}  // namespace

std::span<const Command> relay_readouts() { return rows; }

}  // namespace dhcp::softswitch::cli
