/// The DHCPv6 server as a whole: on and off, pools, clearing.
#include <algorithm>
#include "dhcp/server6.h"

#include "softswitch/cli/records.h"
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
  const auto pools = all_records(dhcp6_server_get_pools);
  return std::any_of(pools.begin(), pools.end(), [=](const Dhcp6Pool& pool) { return pool.pool_id == pool_id; });
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

Outcome clear_statistics(Session&, const Args&) {
  dhcp6_server_clear_counters();
  return {};
}

constexpr Modes exec = in(Mode::exec);
constexpr Modes configure = in(Mode::configure);

constexpr Command rows[] = {
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
