/// DHCP snooping as it is configured: everything that it saves can be typed here.
#include <algorithm>

#include "dhcp/snooping.h"
#include "platform/log.h"
#include "softswitch/cli/bindings.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

constexpr int writeflash_off = 0, writeflash_cyclic = 1, writeflash_now = 2;

int vlan_of(const Value& value) { return static_cast<int>(value.number); }

/// Under the given value, when the module's answer is not 0.
Outcome unless(int result, const char* reason, int arg = -1) {
  if (result == 0) return {};
  return Fault{reason, arg};
}

// --- The service and its VLANs

template <int on>
Outcome turn(Session&, const Args&) {
  set_dhcp_snoop_switch(on);
  return {};
}

/// The first of the VLANs that the switch does not have, 0 = it has them all.
uint16_t missing(const std::vector<uint16_t>& vlans) {
  const auto known = switch_control().vlans();
  for (const uint16_t vlan : vlans)
    if (!std::binary_search(known.begin(), known.end(), vlan)) return vlan;
  return 0;
}

Outcome add_vlans(Session&, const Args& args) {
  const auto& vlans = args[0].vlans;
  if (vlans.empty()) return Fault{"name the VLANs", 0};
  if (const uint16_t vlan = missing(vlans)) return Fault{format("there is no VLAN %u", vlan), 0};
  for (const uint16_t vlan : vlans) set_dhcp_snoop_vlan(1, vlan);
  return {};
}
Outcome remove_vlans(Session&, const Args& args) {
  if (args[0].vlans.empty()) return Fault{"name the VLANs", 0};
  for (const uint16_t vlan : args[0].vlans) set_dhcp_snoop_vlan(0, vlan);
  return {};
}

Outcome limit(Session&, const Args& args) {
  return unless(set_dhcp_snoop_limit(static_cast<int>(args[0].number)), "the chip does not take this limit", 0);
}
Outcome no_limit(Session&, const Args&) {
  return unless(set_dhcp_snoop_limit(0), "the chip does not give its limit up");
}

Outcome add_server(Session&, const Args& args) {
  if (args[0].number == 0) return Fault{"not the address of a server", 0};
  return unless(set_dhcp_snoop_serverip(1, args[0].number), "there are 10 servers, no more fit", 0);
}
Outcome remove_server(Session&, const Args& args) {
  return unless(set_dhcp_snoop_serverip(0, args[0].number), "this server is not on the list", 0);
}

// --- Clients

template <int on>
Outcome verify(Session&, const Args&) {
  set_dhcp_snoop_verify(on);
  return {};
}

Outcome add_verify_mac(Session&, const Args& args) {
  const int mode = static_cast<int>(args[1].number);
  return unless(set_dhcp_snoop_verify_mac(1, args[0].mac.data(), mode), "there are 10 such addresses, no more fit", 0);
}
Outcome remove_verify_mac(Session&, const Args& args) {
  return unless(set_dhcp_snoop_verify_mac(0, args[0].mac.data(), 0), "this address is not on the list", 0);
}

/// Its VLAN comes into being with it, as with a port: a binding may have come from the file into a switch whose
/// configuration does not know the VLAN, and what is saved must load.
Outcome add_binding(Session& session, const Args& args) {
  const bool with_ip = args.size() == 4;
  const Value &vlan = args[with_ip ? 2 : 1], &expiry = args.back();
  if (const Refusal why = switch_control().create_vlan(static_cast<uint16_t>(vlan.number)))
    return Fault{*why, with_ip ? 2 : 1};
  const int result = set_dhcp_snoop_bind(1, args[0].mac.data(), with_ip ? args[1].number : 0, session.target(),
                                         vlan_of(vlan), static_cast<int>(expiry.number));
  if (result != 0 && session.from_file()) {
    Log_logging_func(4, 28, "configuration",
                     "the binding table is full of saved bindings: static binding of %s left out\n",
                     args[0].text.c_str());
    return {};
  }
  return unless(result, "the binding table is full", 0);
}

Outcome remove_binding(Session& session, const Args& args) {
  for (const DhcpSnoopBinding& binding : all_bindings()) {
    if (binding.intf != session.target() || !std::equal(args[0].mac.begin(), args[0].mac.end(), binding.mac)) continue;
    if (binding.is_static == 0) return Fault{"this binding was learnt; clear ip dhcp snooping binding removes it", 0};
    return unless(set_dhcp_snoop_bind(0, binding.mac, 0, session.target(), 0, 0), "the binding has just gone", 0);
  }
  return Fault{"this port has no binding of that address", 0};
}

// --- Ports

template <int (*set)(int, uint32_t), int on>
Outcome port_switch(Session& session, const Args&) {
  return unless(set(on, session.target()), "snooping does not know this port");
}

// --- The file of bindings

Outcome write_delay(Session&, const Args& args) {
  set_dhcp_snoop_writeflash(writeflash_cyclic, static_cast<int>(args[0].number));
  return {};
}
Outcome no_write_delay(Session&, const Args&) {
  set_dhcp_snoop_writeflash(writeflash_off, 0);
  return {};
}

Outcome write_now(Session& session, const Args&) {
  DhcpSnoopDatabase before{}, after{};
  dhcp_snoop_get_database(&before);
  set_dhcp_snoop_writeflash(writeflash_now, 0);
  dhcp_snoop_get_database(&after);
  if (after.write_failures != before.write_failures) return Fault{std::string("cannot write ") + after.path};
  const auto bindings = all_bindings();
  const bool any = std::any_of(bindings.begin(), bindings.end(), [](const auto& b) { return b.state != 0; });
  session.say(any ? format("%u bindings saved to %s\n", after.written, after.path)
                  : format("There is no bound client; %s stays as it is\n", after.path));
  return {};
}

// --- Option 82

Outcome circuit_id(Session&, const Args& args) {
  return unless(set_dhcp_snoop_option82_circuit_id(1, vlan_of(args[1]), vlan_of(args[0]), args[2].text.c_str()),
                "out of memory");
}
Outcome no_circuit_id(Session&, const Args& args) {
  return unless(set_dhcp_snoop_option82_circuit_id(0, vlan_of(args[1]), 0, nullptr), "cannot be removed", 1);
}
Outcome remote_id(Session&, const Args& args) {
  return unless(set_dhcp_snoop_option82_remote_id(1, vlan_of(args[1]), vlan_of(args[0]), args[2].text.c_str()),
                "out of memory");
}
Outcome no_remote_id(Session&, const Args& args) {
  return unless(set_dhcp_snoop_option82_remote_id(0, vlan_of(args[1]), 0, nullptr), "cannot be removed", 1);
}
Outcome link_selection(Session&, const Args& args) {
  return unless(set_dhcp_snoop_option82_ip(1, vlan_of(args[1]), args[0].number), "out of memory");
}
Outcome no_link_selection(Session&, const Args& args) {
  return unless(set_dhcp_snoop_option82_ip(0, vlan_of(args[1]), 0), "cannot be removed", 1);
}

template <int (*set)(int), int on>
Outcome option82_switch(Session&, const Args&) {
  set(on);
  return {};
}

constexpr Modes configure = in(Mode::configure);
constexpr Modes port = in(Mode::port);

constexpr Command rows[] = {
    {in(Mode::exec), "write ip dhcp snooping database", "Save the bindings now", write_now,
     "write ip dhcp snooping database"},
    {configure, "ip dhcp snooping", "Turn DHCP snooping on", turn<1>, "ip dhcp snooping", "ip dhcp snooping", turn<0>},
    {configure, "ip dhcp snooping vlan VLANS", "VLANs whose DHCP frames are inspected", add_vlans,
     "ip dhcp snooping vlan 5-7,10", "ip dhcp snooping vlan VLANS", remove_vlans},
    {configure, "ip dhcp snooping limit PPS", "DHCP frames a second that reach the CPU", limit,
     "ip dhcp snooping limit 5000", "ip dhcp snooping limit [PPS]", no_limit},
    {configure, "ip dhcp snooping verify mac-address", "A client's frame must come from the client's own address",
     verify<1>, "ip dhcp snooping verify mac-address", "ip dhcp snooping verify mac-address", verify<0>},
    {configure, "ip dhcp snooping verify mac-address MAC mode MODE", "Exempt an address from this check (mode 0)",
     add_verify_mac, "ip dhcp snooping verify mac-address 02:00:00:00:00:61 mode 0",
     "ip dhcp snooping verify mac-address MAC [mode MODE]", remove_verify_mac},
    {configure, "ip dhcp snooping dhcpserver ADDRESS", "Server to be believed; without any, all behind trusted ports",
     add_server, "ip dhcp snooping dhcpserver 192.0.2.67", "ip dhcp snooping dhcpserver ADDRESS", remove_server},
    {configure, "ip dhcp snooping database write-delay DELAY", "Save changed bindings to their file in this period",
     write_delay, "ip dhcp snooping database write-delay 300", "ip dhcp snooping database write-delay [DELAY]",
     no_write_delay},
    {configure, "ip dhcp snooping information option", "Add option 82 to clients' messages",
     option82_switch<set_dhcp_snoop_option82_switch, 1>, "ip dhcp snooping information option",
     "ip dhcp snooping information option", option82_switch<set_dhcp_snoop_option82_switch, 0>},
    {configure, "ip dhcp snooping information client_option", "Let in clients' messages that carry option 82 (default)",
     option82_switch<set_dhcp_snoop_untrust_option82_switch, 1>, "ip dhcp snooping information client_option",
     "ip dhcp snooping information client_option", option82_switch<set_dhcp_snoop_untrust_option82_switch, 0>},
    {configure, "ip dhcp information option circuitid ID fromvlan VLAN acsii-string STRING",
     "Circuit id of a VLAN in option 82", circuit_id,
     "ip dhcp information option circuitid 1 fromvlan 10 acsii-string building 7",
     "ip dhcp information option circuitid ID fromvlan VLAN [acsii-string STRING]", no_circuit_id},
    {configure, "ip dhcp information option remoteid ID fromvlan VLAN acsii-string STRING",
     "Remote id of a VLAN in option 82", remote_id,
     "ip dhcp information option remoteid 2 fromvlan 10 acsii-string access-3",
     "ip dhcp information option remoteid ID fromvlan VLAN [acsii-string STRING]", no_remote_id},
    {configure, "ip dhcp information option ip ADDRESS fromvlan VLAN", "Link address of a VLAN in option 82",
     link_selection, "ip dhcp information option ip 192.168.10.0 fromvlan 10",
     "ip dhcp information option ip ADDRESS fromvlan VLAN", no_link_selection},
    {port, "ip dhcp snooping trust", "A DHCP server may stand behind this port", port_switch<set_dhcp_snoop_trust, 1>,
     "ip dhcp snooping trust", "ip dhcp snooping trust", port_switch<set_dhcp_snoop_trust, 0>},
    {port, "ip dhcp snooping suppression", "Drop every DHCP frame from this port",
     port_switch<set_dhcp_snoop_suppression, 1>, "ip dhcp snooping suppression", "ip dhcp snooping suppression",
     port_switch<set_dhcp_snoop_suppression, 0>},
    {port, "ip dhcp snooping binding mac MAC ip ADDRESS vlan VLAN expiry EXPIRY", "Client with a fixed place",
     add_binding, "ip dhcp snooping binding mac 02:00:00:00:00:51 ip 192.168.10.51 vlan 10 expiry 86400"},
    {port, "ip dhcp snooping binding mac MAC vlan VLAN expiry EXPIRY", "The same, its address being learnt",
     add_binding, "ip dhcp snooping binding mac 02:00:00:00:00:52 vlan 10 expiry 86400",
     "ip dhcp snooping binding mac MAC [TEXT]", remove_binding},
};

}  // namespace

std::span<const Command> snooping_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
