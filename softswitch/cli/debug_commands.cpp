/// Watching the frames that come to the DHCP module and leave it: a line each, in the log.
#include <atomic>

#include "dhcp/debug.h"
#include "softswitch/cli/readout.h"
#include "softswitch/cli/session.h"
#include "softswitch/log.h"

namespace dhcp::softswitch::cli {
namespace {

std::atomic<bool> packets_watched{false};

void log_packet(const char* line) { log_asked_for("packet", line); }

template <bool on>
Outcome watch_packets(Session&, const Args&) {
  packets_watched = on;
  dhcp_watch_frames(on ? log_packet : nullptr);
  return {};
}

Outcome show(Readout& out, const Args&) {
  Settings settings(16);
  const bool on = packets_watched;
  settings.row("dhcp_packet", "DHCP packets", {on, on ? "on" : "off"});
  out.add(settings);
  return {};
}

constexpr Modes exec = in(Mode::exec);

constexpr Command rows[] = {
    {exec, "debug dhcp packet", "Log a line for every DHCP and DHCPv6 frame, with what became of it and why",
     watch_packets<true>, "debug dhcp packet", "debug dhcp packet", watch_packets<false>},
    {exec, "show debugging", "What is logged on demand", show, "show debugging"},
};

}  // namespace

std::span<const Command> debug_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
