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

Cell state_of(const CaptureStatus& status) {
  switch (status.state) {
    case CaptureState::none: return "none";
    case CaptureState::running: return "running";
    case CaptureState::ended: return "ended";
    case CaptureState::full: return {"full", "ended, the file has reached its limit"};
    case CaptureState::failed: return {"failed", "ended, " + status.failure};
  }
  return none();
}

Outcome show(Readout& out, const Args&) {
  const CaptureStatus status = switch_control().capture();
  const auto& [path, port, dhcp, limit] = status.request;
  const bool any = status.state != CaptureState::none;
  const auto frames = [](uint64_t count) { return Cell(count, std::to_string(count) + " frames"); };
  Settings settings(16);
  settings.row("state", "State", state_of(status));
  settings.set("failure", status.state == CaptureState::failed ? Json(status.failure) : Json());
  settings.row("file", any ? "File" : "", word_or_none(path));
  settings.row("port", any ? "Ports" : "", port == 0 ? none("all") : str_intf_id(port));
  settings.row("dhcp", any ? "Frames" : "", {dhcp, dhcp ? "DHCP" : "all"});
  settings.row("captured", any ? "Captured" : "", frames(status.frames));
  settings.row("lost", any ? "Lost, no room" : "", frames(status.lost));
  settings.row("size", any ? "Size" : "",
               {status.size, std::to_string(status.size) + " of at most " + std::to_string(limit) + " bytes"});
  settings.set("limit", limit);
  out.add(settings);
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
