/// What the relay knows of its helpers, and what became of the frames.
#include <array>

#include "dhcp/relay.h"
#include "platform/text.h"
#include "softswitch/cli/readout_file.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

std::vector<std::string> helper_cells(const DhcpRelayHelper& helper) {
  char mac[18];
  const bool valid = helper.valid != 0;
  return {dotted(helper.ip),
          valid ? onu_mac2str(helper.mac, mac) : "-",
          valid ? std::to_string(helper.vlan) : "-",
          valid ? "valid" : "probing",
          valid ? std::to_string(helper.age) : "-",
          std::to_string(helper.requests),
          std::to_string(helper.replies)};
}

Outcome show_helpers(Session& session, const Args&) {
  TextTable table({{"Helper"},
                   {"Next hop"},
                   {"VLAN", Align::right},
                   {"State"},
                   {"Age, s", Align::right},
                   {"Requests", Align::right},
                   {"Replies", Align::right}});
  std::array<DhcpRelayHelper, DHCPR_MAX_HELPERS> helpers{};
  const size_t count = dhcp_relay_get_helpers(helpers.data(), helpers.size());
  for (size_t i = 0; i < count; ++i) table.add(helper_cells(helpers[i]));
  session.say(table.text());
  return {};
}

Outcome show_statistics(Session& session, const Args&) {
  DhcpRelayCounters counters{};
  dhcp_relay_get_counters(&counters);
  TextTable table({{"Fate"}, {"Frames", Align::right}});
  for (int verdict = 0; verdict < DHCPR_VERDICTS; ++verdict)
    table.add(
        {dhcp_relay_verdict_name(static_cast<DhcpRelayVerdict>(verdict)), std::to_string(counters.verdicts[verdict])});
  session.say(table.text());
  session.say(format("\n%u of them to a MAC that the switch does not know\n", counters.unknown_destination));
  session.say(format("%u of %d transactions in use\n", counters.transactions, DHCPR_TRANSACTIONS));
  return {};
}

constexpr Modes exec = in(Mode::exec);

constexpr Command rows[] = {
    {exec, "show ip helper-address", "Helpers, their next hops, and what they were asked and answered", show_helpers,
     "show ip helper-address"},
    {exec, "show ip dhcp relay", "State of the relay and its helpers", show_readout<show_dhcp_relay_info>,
     "show ip dhcp relay"},
    {exec, "show ip dhcp relay statistics", "What became of the frames", show_statistics,
     "show ip dhcp relay statistics"},
};

}  // namespace

std::span<const Command> relay_readouts() { return rows; }

}  // namespace dhcp::softswitch::cli
