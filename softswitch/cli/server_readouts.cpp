/// The readouts that the server writes itself, as text files.
#include "dhcp/server.h"
#include "softswitch/cli/readout_file.h"

namespace dhcp::softswitch::cli {
namespace {

Outcome show_pool(Session& session, const Args& args) {
  dhcp_server_mutex_lock_func();
  const bool exists = dhcp_get_pool_by_id(args[0].number) != nullptr;
  dhcp_server_mutex_unlock_func();
  if (!exists) return Fault{"there is no such pool", 0};
  return show_file(session, show_dhcp_server_conf_pool, static_cast<int>(args[0].number));
}

constexpr Modes exec = in(Mode::exec);

constexpr Command rows[] = {
    {exec, "show ip dhcp server", "State of the server and all pools", show_readout<show_dhcp_server_conf>,
     "show ip dhcp server"},
    {exec, "show ip dhcp pool POOL", "One pool with all its lines", show_pool, "show ip dhcp pool 1"},
    {exec, "show ip dhcp binding", "Addresses given to clients", show_readout<show_dhcp_server_binding>,
     "show ip dhcp binding | count"},
    {exec, "show ip dhcp conflict", "Addresses found in use", show_readout<show_dhcp_server_conflict>,
     "show ip dhcp conflict"},
    {exec, "show ip dhcp excluded-address", "Addresses that are never handed out",
     show_readout<show_dhcp_server_exclude>, "show ip dhcp excluded-address"},
    {exec, "show ip dhcp host", "Addresses kept for one client each", show_readout<show_dhcp_server_host>,
     "show ip dhcp host"},
};

}  // namespace

std::span<const Command> server_readouts() { return rows; }

}  // namespace dhcp::softswitch::cli
