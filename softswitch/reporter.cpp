#include "softswitch/reporter.h"

#include <pthread.h>

#include <chrono>
#include <numeric>

#include "dhcp/server.h"
#include "dhcp/server6.h"
#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "platform/text.h"
#include "softswitch/control.h"
#include "softswitch/log.h"

namespace dhcp::softswitch {
namespace {

constexpr auto period = std::chrono::seconds(1);
constexpr int warning = 4, notice = 5;
constexpr uint32_t chip_group6 = 11, chip_untrusted_servers6 = 2;

struct GuardName {
  GuardKind kind;
  const char* text;
};
constexpr GuardName guard_names[] = {{GuardKind::source, "IPv4 source guard"},
                                     {GuardKind::source6, "IPv6 source guard"},
                                     {GuardKind::arp, "ARP inspection"}};

uint64_t dropped(const GuardCounters::Counts& counts) {
  return std::accumulate(counts.dropped.begin(), counts.dropped.end(), uint64_t{0});
}

template <class Counters>
uint64_t of_verdict(const Counters& counters, DhcpSnoopVerdict verdict) {
  return std::accumulate(std::begin(counters.count[verdict]), std::end(counters.count[verdict]), uint64_t{0});
}

uint64_t conflicts4() {
  dhcp_server_mutex_lock_func();
  const auto count = static_cast<uint64_t>(dhcps_cfg.conflicts.count);
  dhcp_server_mutex_unlock_func();
  return count;
}

}  // namespace

Reporter::Reporter() : up_(switch_control().port_count() + 1) {
  thread_ = std::thread([this] { run(); });
  pthread_setname_np(thread_.native_handle(), "sw_reporter");
}

Reporter::~Reporter() {
  {
    const std::lock_guard guard(lock_);
    ending_ = true;
  }
  news_.notify_all();
  thread_.join();
}

void Reporter::run() {
  std::unique_lock guard(lock_);
  while (!news_.wait_for(guard, period, [this] { return ending_; })) look();
}

void Reporter::look() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  now_s_ = static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::seconds>(now).count());
  look_at_ports();
  look_at_snooping();
  look_at_servers();
}

void Reporter::tell(int severity, const std::string& what, uint64_t total) {
  if (const auto more = alarms_.grown(what, total, now_s_))
    log_line(severity, "%s: %llu", what.c_str(), static_cast<unsigned long long>(*more));
}

void Reporter::look_at_ports() {
  for (uint32_t port = 1; port < up_.size(); ++port) {
    const std::string name = str_intf_id(port);
    const PortStatus status = switch_control().port(port);
    if (status.up != up_[port])
      log_line(notice, "port %s (%s) is %s", name.c_str(), status.config.device.c_str(), status.up ? "up" : "down");
    up_[port] = status.up;
    const GuardCounters guards = switch_control().guard_counters(port);
    for (const GuardName& guard : guard_names)
      tell(warning, std::string("frames dropped by ") + guard.text + " on port " + name,
           dropped(guards.of(guard.kind)));
    tell(warning, "frames lost before receipt on port " + name, status.counters.rx_lost);
  }
  tell(warning, "frames lost, the module's queue being full", switch_control().event_queue().dropped_full);
}

/// Port 0 stands for frames of no listed port.
void Reporter::look_at_snooping() {
  for (uint32_t port = 0; port < up_.size(); ++port) {
    const std::string on_port = port == 0 ? "" : std::string(" on port ") + str_intf_id(port);
    DhcpSnoopCounters four{};
    if (dhcp_snoop_get_counters(port, &four) == 0)
      tell(warning, "clients not taken, the snooping table being full" + on_port,
           of_verdict(four, DHCP_SNOOP_TABLE_FULL));
    Dhcp6SnoopCounters six{};
    if (dhcp6_snoop_get_counters(port, &six) != 0) continue;
    tell(warning, "DHCPv6 clients not taken, the snooping table being full" + on_port,
         of_verdict(six, DHCP_SNOOP_TABLE_FULL));
    tell(warning, "messages of rogue DHCPv6 servers" + on_port, of_verdict(six, DHCP_SNOOP_SERVER_ON_UNTRUSTED));
  }
  tell(warning, "messages of rogue DHCPv6 servers stopped by the chip",
       switch_control().rule_hits(chip_group6, chip_untrusted_servers6));
}

void Reporter::look_at_servers() {
  tell(warning, "addresses found in use by others", conflicts4());
  tell(warning, "IPv6 addresses found in use by others", static_cast<uint64_t>(dhcp6_server_get_conflicts(nullptr, 0)));
}

}  // namespace dhcp::softswitch
