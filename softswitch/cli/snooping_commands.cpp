/// DHCP snooping as it is configured, where IPv4 and IPv6 have the same lines.
#include <algorithm>

#include "platform/log.h"
#include "softswitch/cli/session.h"
#include "softswitch/cli/snooping_family.h"

namespace dhcp::softswitch::cli {
namespace {

constexpr int writeflash_off = 0, writeflash_cyclic = 1, writeflash_now = 2;

// --- The service and its VLANs

template <class Family, int on>
Outcome turn(Session&, const Args&) {
  Family::set_switch(on);
  return {};
}

/// The first of the VLANs that the switch does not have, 0 = it has them all.
uint16_t missing(const std::vector<uint16_t>& vlans) {
  const auto known = switch_control().vlans();
  for (const uint16_t vlan : vlans)
    if (!std::binary_search(known.begin(), known.end(), vlan)) return vlan;
  return 0;
}

template <class Family>
Outcome add_vlans(Session&, const Args& args) {
  const auto& vlans = args[0].vlans;
  if (vlans.empty()) return Fault{"name the VLANs", 0};
  if (const uint16_t vlan = missing(vlans)) return Fault{format("there is no VLAN %u", vlan), 0};
  for (const uint16_t vlan : vlans) Family::set_vlan(1, vlan);
  return {};
}
template <class Family>
Outcome remove_vlans(Session&, const Args& args) {
  if (args[0].vlans.empty()) return Fault{"name the VLANs", 0};
  for (const uint16_t vlan : args[0].vlans) Family::set_vlan(0, vlan);
  return {};
}

// --- Static clients

/// Its VLAN comes into being with it, as with a port: a binding may have come from the file into a switch whose
/// configuration does not know the VLAN, and what is saved must load.
template <class Family>
Outcome add_binding(Session& session, const Args& args) {
  const size_t vlan_at = args.size() - 2;
  if (const Refusal why = switch_control().create_vlan(static_cast<uint16_t>(args[vlan_at].number)))
    return Fault{*why, static_cast<int>(vlan_at)};
  const int result = Family::bind(args, session.target());
  Family::changed();
  if (result == 0) return {};
  if (!session.from_file()) return Fault{"the binding table is full", 0};
  Log_logging_func(4, 28, "configuration",
                   "the binding table is full of saved bindings: static binding of %s left out\n",
                   args[0].text.c_str());
  return {};
}

template <class Family>
Outcome remove_binding(Session& session, const Args& args) {
  for (const auto& binding : all_bindings<Family>()) {
    if (binding.intf != session.target() || !std::equal(args[0].mac.begin(), args[0].mac.end(), binding.mac)) continue;
    if (binding.is_static == 0)
      return Fault{format("this binding was learnt; clear %s dhcp snooping binding removes it",
                          std::string(Family::words.keyword).c_str()),
                   0};
    const int result = Family::unbind(binding.mac, session.target());
    Family::changed();
    if (result != 0) return Fault{"the binding has just gone", 0};
    return {};
  }
  return Fault{"this port has no binding of that address", 0};
}

// --- Ports

template <int (*set)(int, uint32_t), int on>
Outcome port_switch(Session& session, const Args&) {
  if (set(on, session.target()) != 0) return Fault{"snooping does not know this port"};
  return {};
}

// --- The file of bindings

template <class Family>
Outcome write_delay(Session&, const Args& args) {
  Family::set_writeflash(writeflash_cyclic, static_cast<int>(args[0].number));
  return {};
}
template <class Family>
Outcome no_write_delay(Session&, const Args&) {
  Family::set_writeflash(writeflash_off, 0);
  return {};
}

template <class Family>
Outcome write_now(Session& session, const Args&) {
  DhcpSnoopDatabase before{}, after{};
  Family::get_database(&before);
  Family::set_writeflash(writeflash_now, 0);
  Family::get_database(&after);
  if (after.write_failures != before.write_failures) return Fault{std::string("cannot write ") + after.path};
  const auto bindings = all_bindings<Family>();
  const bool any = std::any_of(bindings.begin(), bindings.end(), [](const auto& b) { return b.state != 0; });
  session.say(any ? format("%u bindings saved to %s\n", after.written, after.path)
                  : format("There is no bound client; %s stays as it is\n", after.path));
  return {};
}

constexpr Modes configure = in(Mode::configure);
constexpr Modes port = in(Mode::port);

template <class F>
std::vector<Command> rows() {
  return spelt(
      {
          {in(Mode::exec), "write % dhcp snooping database", "Save the bindings now", write_now<F>,
           "write % dhcp snooping database"},
          {configure, "% dhcp snooping", "Turn $ snooping on", turn<F, 1>, "% dhcp snooping", "% dhcp snooping",
           turn<F, 0>},
          {configure, "% dhcp snooping vlan VLANS", "VLANs whose $ frames are inspected", add_vlans<F>,
           "% dhcp snooping vlan 5-7,10", "% dhcp snooping vlan VLANS", remove_vlans<F>},
          {configure, "% dhcp snooping database write-delay DELAY",
           "Save changed bindings to their file in this period", write_delay<F>,
           "% dhcp snooping database write-delay 300", "% dhcp snooping database write-delay [DELAY]",
           no_write_delay<F>},
          {port, "% dhcp snooping trust", "A $ server may stand behind this port", port_switch<F::set_trust, 1>,
           "% dhcp snooping trust", "% dhcp snooping trust", port_switch<F::set_trust, 0>},
          {port, "% dhcp snooping suppression", "Drop every $ frame from this port", port_switch<F::set_suppression, 1>,
           "% dhcp snooping suppression", "% dhcp snooping suppression", port_switch<F::set_suppression, 0>},
          {port, "% dhcp snooping binding mac MAC vlan VLAN expiry EXPIRY",
           "Client with a fixed place, its address being learnt", add_binding<F>,
           "% dhcp snooping binding mac 02:00:00:00:00:52 vlan 10 expiry 86400",
           "% dhcp snooping binding mac MAC [TEXT]", remove_binding<F>},
      },
      F::words);
}

std::vector<Command> rows_of_ipv4() {
  std::vector<Command> all = rows<Snooping4>();
  all.push_back({port, "ip dhcp snooping binding mac MAC ip ADDRESS vlan VLAN expiry EXPIRY",
                 "Client with a fixed place and address", add_binding<Snooping4>,
                 "ip dhcp snooping binding mac 02:00:00:00:00:51 ip 192.168.10.51 vlan 10 expiry 86400"});
  return all;
}

}  // namespace

std::span<const Command> snooping_commands() {
  static const std::vector<Command> all = rows_of_ipv4();
  return all;
}

std::span<const Command> snooping6_commands() {
  static const std::vector<Command> all = rows<Snooping6>();
  return all;
}

}  // namespace dhcp::softswitch::cli
