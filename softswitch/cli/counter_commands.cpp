/// What became of the frames in all services of the module.
#include "platform/text.h"
#include "softswitch/cli/module_counters.h"
#include "softswitch/cli/readout.h"
#include "softswitch/cli/records.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

constexpr uint32_t no_port = 0;  // stands for frames that came from no port of the switch

template <class Wanted>
Outcome show(Readout& out, Wanted wanted) {
  Table table({{"service", "Service"},
               {"port", "Port"},
               {"message", "Message"},
               {"reason", "Reason"},
               {"frames", "Frames", Align::right}});
  for (const DhcpCounter& counter : module_counters()) {
    if (!wanted(counter)) continue;
    table.add({dhcp_service_name(counter.service), counter.intf == no_port ? none() : str_intf_id(counter.intf),
               dhcp_message_type_name(counter.service, counter.type), dhcp_reason_name(counter.service, counter.reason),
               counter.count});
  }
  out.add(table);
  return {};
}

Outcome show_all(Readout& out, const Args&) {
  return show(out, [](const DhcpCounter&) { return true; });
}
Outcome show_port(Readout& out, const Args& args) {
  return show(out, [port = args[0].number](const DhcpCounter& counter) { return counter.intf == port; });
}

Outcome clear(Session&, const Args&) {
  dhcp_clear_counters();
  return {};
}

constexpr Modes exec = in(Mode::exec);

constexpr Command rows[] = {
    {exec, "show dhcp counters", "What became of the frames in every service, by port, message and reason", show_all,
     "show dhcp counters | exclude forwarded"},
    {exec, "show dhcp counters interface gigabitethernet PORT", "The same, of the frames that came in on one port",
     show_port, "show dhcp counters interface gigabitethernet 1"},
    {exec, "clear dhcp counters", "Begin counting again in every service", clear, "clear dhcp counters"},
};

}  // namespace

std::vector<DhcpCounter> module_counters() { return all_records(dhcp_get_counters); }

std::span<const Command> counter_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
