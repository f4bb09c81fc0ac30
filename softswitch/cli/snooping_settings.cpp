/// The settings of both snoopings and of option 82. People read what the module writes, and what only the switch knows;
/// programs get the records behind it.
#include "platform/text.h"
#include "softswitch/cli/readout_file.h"
#include "softswitch/cli/snooping_family.h"

namespace dhcp::softswitch::cli {
namespace {

/// Rows in the style of the module's own.
Settings module_style() { return Settings(32, "         "); }

/// VLANs of a bitmap, ascending.
Json vlans_in(const uint8_t (&bitmap)[DHCP_SNOOP_VLAN_BYTES]) {
  Json vlans = Json::array();
  for (unsigned vlan = 0; vlan < 8 * DHCP_SNOOP_VLAN_BYTES; ++vlan)
    if ((bitmap[vlan / 8] >> vlan % 8 & 1) != 0) vlans.push_back(vlan);
  return vlans;
}

/// The settings that both have. They change by the command line alone, one command at a time.
template <class Family>
void set_common(Readout& out) {
  const auto& config = Family::config();
  out.set("enabled", config.enable != 0);
  out.set("vlans", vlans_in(config.vlan_bitmap));
  Json servers = Json::array();
  for (const auto* server = config.server_list; server != nullptr; server = server->next)
    servers.push_back(Family::address_text(*server));
  out.set("servers", servers);
  out.set("write_delay", config.writeflash_enable != 0 ? Json(config.writeflash_interval) : Json());
}

/// As people see them: those that are set up in some way, and those on which a server's answers were dropped.
template <class Family>
Json ports() {
  Json rows = Json::array();
  for (const SnoopIntfEntry& port : all_records(Family::get_interfaces)) {
    if (port.trust == 0 && port.suppression == 0 && port.dropped_ack == 0 && port.dropped_offer == 0) continue;
    rows.push_back(Json::object({{"port", str_intf_id(port.ifindex)},
                                 {"trusted", port.trust != 0},
                                 {"suppressed", port.suppression != 0},
                                 {"dropped_ack", port.dropped_ack},
                                 {"dropped_offer", port.dropped_offer}}));
  }
  return rows;
}

Json last_rogue(const DhcpSnoopRogue& rogue) {
  if (rogue.time == 0) return {};
  return Json::object({{"time", rogue.time},
                       {"mac", mac_text(rogue.mac)},
                       {"ip", dotted(rogue.ip)},
                       {"port", str_intf_id(rogue.intf)},
                       {"vlan", rogue.vlan}});
}

Outcome show_snooping(Readout& out, const Args&) {
  if (auto bad = show_file(out, show_dhcp_snoop_conf)) return bad;
  const DhcpSnoopConfig& config = g_dhcp_snooping;
  set_common<Snooping4>(out);
  out.set("packet_limit", config.limit != 0 ? Json(config.limit) : Json());
  out.set("verify_mac", config.verify_enable != 0);
  out.set("option82", config.option82_enable != 0);
  out.set("trust_client_option82", config.allow_untrust_option82 != 0);
  out.set("ports", ports<Snooping4>());
  DhcpSnoopRogue rogue{};
  dhcp_snoop_get_rogue(&rogue);
  out.set("last_rogue", last_rogue(rogue));
  out.say("\n");
  Settings more = module_style();
  more.row("lost_rate_limit", "Frames above the packet limit :", switch_control().event_queue().dropped_rate);
  more.row("rogue_messages", "Messages of rogue servers :", rogue.seen);
  more.row("", rogue.time != 0 ? "Last of them at :" : "", moment(rogue.time));
  out.add(more);
  return {};
}

/// The module wants to be told where to write its readout.
int write_settings6(char* path, int a, int b) {
  get_tmp_file_name(0, path, a, b);
  return show_dhcp6_snoop_conf(path);
}

/// Servers on untrusted ports never come as far as snooping, so the chip has to say how many there were.
Outcome show_snooping6(Readout& out, const Args&) {
  constexpr uint32_t group = 11, untrusted_servers = 2;
  if (auto bad = show_file(out, write_settings6)) return bad;
  set_common<Snooping6>(out);
  out.set("ports", ports<Snooping6>());
  out.say("\n");
  Settings more = module_style();
  more.row("stopped_by_chip",
           "Server messages stopped by chip :", switch_control().rule_hits(group, untrusted_servers));
  out.add(more);
  return {};
}

// --- Option 82

constexpr int circuit_id = 1, remote_id = 2, link_selection = 5;  // sub-options (RFC 3046, RFC 3527)

Json values_of(const SUB_OPTION& entry, int sub_option) {
  switch (sub_option) {
    case circuit_id:
      return Json::object({{"vlan", entry.vlan}, {"id", entry.circuit_id}, {"string", entry.circuit_string}});
    case remote_id:
      return Json::object({{"vlan", entry.vlan}, {"id", entry.remote_id}, {"string", entry.remote_string}});
    default: return Json::object({{"vlan", entry.vlan}, {"ip", dotted(entry.ip)}});
  }
}

/// The VLANs that have the setting, in the order in which people see them.
template <int sub_option>
Json option82() {
  Json rows = Json::array();
  dhcp_snooping_mutex_lock_func();
  each_record<SUB_OPTION>(g_dhcp_snooping.sub_option_list, [&](const SUB_OPTION& entry) {
    if ((entry.flags >> sub_option & 1) != 0) rows.push_back(values_of(entry, sub_option));
  });
  dhcp_snooping_mutex_unlock_func();
  return rows;
}

constexpr Modes exec = in(Mode::exec);

constexpr Command rows[] = {
    {exec, "show ip dhcp snooping", "Settings of DHCP snooping, and the last rogue server", show_snooping,
     "show ip dhcp snooping"},
    {exec, "show ipv6 dhcp snooping", "Settings of DHCPv6 snooping, and what the chip stopped", show_snooping6,
     "show ipv6 dhcp snooping"},
    {exec, "show ip dhcp information option circuitid", "Circuit ids that are set",
     show_readout<show_dhcp_snoop_option82_circuit_id, option82<circuit_id>>,
     "show ip dhcp information option circuitid"},
    {exec, "show ip dhcp information option remoteid", "Remote ids that are set",
     show_readout<show_dhcp_snoop_option82_remote_id, option82<remote_id>>, "show ip dhcp information option remoteid"},
    {exec, "show ip dhcp information option ip", "Link addresses that are set",
     show_readout<show_dhcp_snoop_option82_ip, option82<link_selection>>, "show ip dhcp information option ip"},
};

}  // namespace

std::span<const Command> snooping_settings() { return rows; }

}  // namespace dhcp::softswitch::cli
