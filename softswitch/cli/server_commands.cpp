/// The IPv4 server as a whole: on and off, pools, excluded ranges, clearing.
#include "dhcp/server.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

constexpr int limit_reached = -2;

bool pool_exists(uint32_t pool_id) {
  dhcp_server_mutex_lock_func();
  const bool exists = dhcp_get_pool_by_id(pool_id) != nullptr;
  dhcp_server_mutex_unlock_func();
  return exists;
}

Outcome server_on(Session&, const Args&) {
  if (dhcp_server_start_stop(1) == 0) return {};
  return Fault{"the DHCP relay is on; relay and server exclude each other"};
}

Outcome server_off(Session&, const Args&) {
  if (dhcp_server_start_stop(0) == 0) return {};
  return Fault{"the server could not be stopped"};
}

Outcome pool_mode(Session& session, const Args& args) {
  const int result = dhcp_server_create_pool_entry(args[0].number);
  if (result == limit_reached) return Fault{"there are " + std::to_string(DHCPS_MAX_POOLS) + " pools, no more fit", 0};
  if (result != 0) return Fault{"out of memory"};
  session.enter(Mode::pool, args[0].number);
  return {};
}

Outcome no_pool(Session&, const Args& args) {
  if (!pool_exists(args[0].number)) return Fault{"there is no such pool", 0};
  dhcp_server_del_pool_entry(args[0].number);
  return {};
}

/// The range's end: its second value, or the first for a single address.
uint32_t range_end(const Args& args) { return args.back().number; }

Outcome exclude(Session&, const Args& args) {
  if (args[0].number == 0) return Fault{"not an address that could be handed out", 0};
  if (range_end(args) < args[0].number) return Fault{"the range ends before it begins", 1};
  if (dhcp_server_set_exclude_ip(args[0].number, range_end(args)) != 0) return Fault{"out of memory"};
  return {};
}

Outcome no_exclude(Session&, const Args& args) {
  if (dhcp_server_del_exclude_ip(args[0].number, range_end(args)) == 0) return {};
  return Fault{"there is no excluded range with exactly this start and end", 0};
}

/// The module takes address 0 for "all"; an operator who wants that types "*".
Outcome clear_one(int (*clear)(uint32_t), const Args& args) {
  if (args[0].number == 0) return Fault{"type * to clear all", 0};
  clear(args[0].number);
  return {};
}

Outcome clear_binding(Session&, const Args& args) { return clear_one(dhcp_server_clear_binding, args); }
Outcome clear_conflict(Session&, const Args& args) { return clear_one(dhcp_server_clear_conflict, args); }

Outcome clear_bindings(Session&, const Args&) {
  dhcp_server_clear_binding(0);
  return {};
}

Outcome clear_conflicts(Session&, const Args&) {
  dhcp_server_clear_conflict(0);
  return {};
}

constexpr Modes exec = in(Mode::exec);
constexpr Modes configure = in(Mode::configure);

constexpr Command rows[] = {
    {exec, "clear ip dhcp binding *", "Remove all bindings", clear_bindings, "clear ip dhcp binding *"},
    {exec, "clear ip dhcp binding ADDRESS", "Remove the binding of an address", clear_binding,
     "clear ip dhcp binding 192.168.10.20"},
    {exec, "clear ip dhcp conflict *", "Forget all conflicts", clear_conflicts, "clear ip dhcp conflict *"},
    {exec, "clear ip dhcp conflict ADDRESS", "Forget the conflict of an address", clear_conflict,
     "clear ip dhcp conflict 192.168.10.20"},
    {configure, "ip dhcp-server", "Turn the DHCP server on", server_on, "ip dhcp-server", "ip dhcp-server", server_off},
    {configure, "ip dhcp pool POOL", "Create an address pool or configure it", pool_mode, "ip dhcp pool 1",
     "ip dhcp pool POOL", no_pool},
    {configure, "ip dhcp excluded-address START [END]", "Addresses that are never handed out", exclude,
     "ip dhcp excluded-address 192.168.10.1 192.168.10.9", "ip dhcp excluded-address START [END]", no_exclude},
};

}  // namespace

std::span<const Command> server_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
