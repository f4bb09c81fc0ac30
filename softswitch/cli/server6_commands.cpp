/// The DHCPv6 server as a whole: on and off, pools, readouts, clearing.
#include "dhcp/server6.h"
#include "softswitch/cli/readout_file.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

constexpr int limit_reached = -2;

Outcome server_on(Session&, const Args&) {
  if (dhcp6_server_start_stop(1) == 0) return {};
  return Fault{"the DHCPv6 relay is on; relay and server exclude each other"};
}

Outcome server_off(Session&, const Args&) {
  if (dhcp6_server_start_stop(0) == 0) return {};
  return Fault{"the server could not be stopped"};
}

Outcome pool_mode(Session& session, const Args& args) {
  const int result = dhcp6_server_create_pool_entry(args[0].number);
  if (result == limit_reached) return Fault{format("there are %d pools, no more fit", DHCP6S_MAX_POOLS), 0};
  if (result != 0) return Fault{"out of memory"};
  session.enter(Mode::pool6, args[0].number);
  return {};
}

bool pool_exists(uint32_t pool_id) {
  std::vector<Dhcp6Pool> pools(DHCP6S_MAX_POOLS);
  const auto count = static_cast<size_t>(dhcp6_server_get_pools(pools.data(), DHCP6S_MAX_POOLS));
  for (size_t i = 0; i < count && i < pools.size(); ++i)
    if (pools[i].pool_id == pool_id) return true;
  return false;
}

Outcome no_pool(Session&, const Args& args) {
  if (!pool_exists(args[0].number)) return Fault{"there is no such pool", 0};
  dhcp6_server_del_pool_entry(args[0].number);
  return {};
}

template <int (*clear)(const uint8_t*)>
Outcome clear_one(Session&, const Args& args) {
  clear(args[0].ip6.data());
  return {};
}

template <int (*clear)(const uint8_t*)>
Outcome clear_all(Session&, const Args&) {
  clear(nullptr);
  return {};
}

/// A column a message type would be wider than a screen: one line a fate and type that occurred.
Outcome show_statistics(Readout& out, const Args&) {
  constexpr const char* types[] = {"other", "solicit", "advertise", "request", "confirm", "renew",      "rebind",
                                   "reply", "release", "decline",   "reconf",  "inform",  "relay-forw", "relay-repl"};
  Dhcp6ServerCounters counters{};
  dhcp6_server_get_counters(&counters);
  Table table({{"fate", "Fate"}, {"message", "Message"}, {"frames", "Frames", Align::right}});
  for (int verdict = 0; verdict < DHCP6S_VERDICTS; ++verdict)
    for (size_t type = 0; type < std::size(types); ++type) {
      const uint32_t count = counters.count[verdict][type];
      if (count != 0) table.add({dhcp6_server_verdict_name(verdict), types[type], count});
    }
  out.add(table);
  return {};
}

Outcome clear_statistics(Session&, const Args&) {
  dhcp6_server_clear_counters();
  return {};
}

constexpr Modes exec = in(Mode::exec);
constexpr Modes configure = in(Mode::configure);

constexpr Command rows[] = {
    {exec, "show ipv6 dhcp server", "State of the DHCPv6 server and all its pools",
     show_readout<show_dhcp6_server_conf>, "show ipv6 dhcp server"},
    {exec, "show ipv6 dhcp server statistics", "What became of the messages", show_statistics,
     "show ipv6 dhcp server statistics"},
    {exec, "show ipv6 dhcp binding", "IPv6 addresses given to clients", show_readout<show_dhcp6_server_binding>,
     "show ipv6 dhcp binding"},
    {exec, "show ipv6 dhcp conflict", "IPv6 addresses found in use", show_readout<show_dhcp6_server_conflict>,
     "show ipv6 dhcp conflict"},
    {exec, "clear ipv6 dhcp binding *", "Remove all bindings", clear_all<dhcp6_server_clear_binding>,
     "clear ipv6 dhcp binding *"},
    {exec, "clear ipv6 dhcp binding ADDRESS6", "Remove the binding of an address",
     clear_one<dhcp6_server_clear_binding>, "clear ipv6 dhcp binding 2001:db8:10::20"},
    {exec, "clear ipv6 dhcp conflict *", "Forget all conflicts", clear_all<dhcp6_server_clear_conflict>,
     "clear ipv6 dhcp conflict *"},
    {exec, "clear ipv6 dhcp conflict ADDRESS6", "Forget the conflict of an address",
     clear_one<dhcp6_server_clear_conflict>, "clear ipv6 dhcp conflict 2001:db8:10::20"},
    {exec, "clear ipv6 dhcp server statistics", "Begin counting again", clear_statistics,
     "clear ipv6 dhcp server statistics"},
    {configure, "service dhcpv6-server", "Turn the DHCPv6 server on", server_on, "service dhcpv6-server",
     "service dhcpv6-server", server_off},
    {configure, "ipv6 dhcp pool POOL", "Create a pool of IPv6 addresses or configure it", pool_mode, "ipv6 dhcp pool 1",
     "ipv6 dhcp pool POOL", no_pool},
};

}  // namespace

std::span<const Command> server6_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
