/// Captures of the frames at the ports.
#include "platform/text.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

template <bool dhcp>
Outcome start(Session&, const Args& args) {
  CaptureRequest request;
  request.path = args[0].text;
  request.port = args.size() > 1 ? args[1].number : 0;
  request.dhcp = dhcp;
  const Refusal why = switch_control().start_capture(request);
  return why ? Outcome(Fault{*why, 0}) : Outcome();
}

Outcome stop(Session&, const Args&) { return outcome(switch_control().stop_capture()); }

std::string state_of(const CaptureStatus& status) {
  switch (status.state) {
    case CaptureState::none: return "none";
    case CaptureState::running: return "running";
    case CaptureState::ended: return "ended";
    case CaptureState::full: return "ended, the file has reached its limit";
    case CaptureState::failed: return "ended, " + status.failure;
  }
  return {};
}

Outcome show(Session& session, const Args&) {
  const CaptureStatus status = switch_control().capture();
  const auto row = [&](const char* name, const std::string& value) {
    session.say(format("%-16s %s\n", name, value.c_str()));
  };
  row("State", state_of(status));
  if (status.state == CaptureState::none) return {};
  row("File", status.request.path);
  row("Ports", status.request.port == 0 ? "all" : str_intf_id(status.request.port));
  row("Frames", status.request.dhcp ? "DHCP" : "all");
  row("Captured", std::to_string(status.frames) + " frames");
  row("Lost, no room", std::to_string(status.lost) + " frames");
  row("Size", std::to_string(status.size) + " of at most " + std::to_string(status.request.limit) + " bytes");
  return {};
}

constexpr Modes exec = in(Mode::exec);

constexpr Command rows[] = {
    {exec, "monitor capture PATH", "Capture the frames at all ports into a new file", start<false>,
     "monitor capture /nowhere/all.pcapng", "monitor capture", stop},
    {exec, "monitor capture PATH dhcp", "The same, of DHCP and DHCPv6 alone", start<true>, ""},
    {exec, "monitor capture PATH interface gigabitethernet PORT", "Capture the frames at one port", start<false>, ""},
    {exec, "monitor capture PATH interface gigabitethernet PORT dhcp", "The same, of DHCP and DHCPv6 alone",
     start<true>, ""},
    {exec, "show monitor capture", "Capture that runs, or the last one", show, "show monitor capture"},
};

}  // namespace

std::span<const Command> capture_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
