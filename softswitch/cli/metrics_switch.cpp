/// What the switch itself has to tell: ports, guards, the module's queue, the process.
#include <dirent.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <memory>

#include "platform/text.h"
#include "softswitch/cli/metrics.h"
#include "softswitch/control.h"

namespace dhcp::softswitch::cli {
namespace {

constexpr auto counter = Metric::Kind::counter, gauge = Metric::Kind::gauge;

std::string name_of(uint32_t port) { return str_intf_id(port); }

// --- Ports

struct PortField {
  std::string_view name, help;
  uint64_t PortCounters::*count;
};
constexpr PortField port_fields[] = {
    {"switch_port_received_frames_total", "Frames received.", &PortCounters::rx_frames},
    {"switch_port_received_bytes_total", "Bytes received.", &PortCounters::rx_bytes},
    {"switch_port_sent_frames_total", "Frames sent.", &PortCounters::tx_frames},
    {"switch_port_sent_bytes_total", "Bytes sent.", &PortCounters::tx_bytes},
    {"switch_port_filtered_frames_total", "Frames dropped on receipt: wrong VLAN, bad tag, too short.",
     &PortCounters::rx_filtered},
    {"switch_port_lost_frames_total", "Frames lost before receipt, the kernel's ring being full.",
     &PortCounters::rx_lost},
    {"switch_port_unsent_frames_total", "Frames that the kernel did not send.", &PortCounters::tx_failed},
    {"switch_port_trapped_frames_total", "Frames brought to the DHCP module.", &PortCounters::trapped},
};

/// Ports with a device alone: the others have nothing to tell.
void add_ports(std::vector<Metric>& metrics) {
  Metric up{"switch_port_up", "Whether the port's device is there and running.", gauge};
  std::vector<Metric> counts;
  for (const PortField& field : port_fields) counts.push_back({field.name, field.help, counter});
  for (uint32_t port = 1; port <= switch_control().port_count(); ++port) {
    const PortStatus status = switch_control().port(port);
    if (status.config.device.empty()) continue;
    up.add({{"port", name_of(port)}, {"device", status.config.device}}, status.up ? 1 : 0);
    for (size_t i = 0; i < counts.size(); ++i)
      counts[i].add({{"port", name_of(port)}}, status.counters.*port_fields[i].count);
  }
  metrics.push_back(std::move(up));
  for (Metric& metric : counts) metrics.push_back(std::move(metric));
}

// --- Guards

struct GuardOfPort {
  const char* name;
  GuardKind kind;
  bool PortConfig::*on;
};
constexpr GuardOfPort guards[] = {{"source", GuardKind::source, &PortConfig::source_guard},
                                  {"source6", GuardKind::source6, &PortConfig::source_guard6},
                                  {"arp", GuardKind::arp, &PortConfig::arp_check}};
constexpr const char* drop_names[guard_drops] = {"malformed", "unknown address", "other mac", "other vlan",
                                                 "other sender"};

/// Of the ports on which a guard is on.
void add_guards(std::vector<Metric>& metrics) {
  Metric passed{"switch_guard_passed_frames_total", "Frames that a guard has let pass.", counter};
  Metric dropped{"switch_guard_dropped_frames_total", "Frames that a guard has dropped, by what was wrong.", counter};
  for (uint32_t port = 1; port <= switch_control().port_count(); ++port) {
    const PortConfig config = switch_control().port(port).config;
    for (const GuardOfPort& guard : guards) {
      if (!(config.*guard.on)) continue;
      const GuardCounters::Counts counts = switch_control().guard_counters(port).of(guard.kind);
      passed.add({{"guard", guard.name}, {"port", name_of(port)}}, counts.passed);
      for (size_t i = 0; i < guard_drops; ++i)
        dropped.add({{"guard", guard.name}, {"port", name_of(port)}, {"reason", drop_names[i]}}, counts.dropped[i]);
    }
  }
  metrics.push_back(std::move(passed));
  metrics.push_back(std::move(dropped));
}

// --- The queue, the tables

void add_queue(std::vector<Metric>& metrics) {
  const QueueCounters queue = switch_control().event_queue();
  Metric lost{"switch_event_queue_lost_total", "Frames for the DHCP module that were lost.", counter};
  lost.add({{"reason", "queue full"}}, queue.dropped_full);
  lost.add({{"reason", "above rate limit"}}, queue.dropped_rate);
  Metric posted{"switch_event_queue_posted_total", "Events posted for the DHCP module.", counter};
  posted.add({}, queue.posted);
  Metric depth{"switch_event_queue_depth", "Events that wait for the DHCP module.", gauge};
  depth.add({}, queue.depth);
  Metric capacity{"switch_event_queue_capacity", "Events that can wait for the DHCP module.", gauge};
  capacity.add({}, queue.capacity);
  Metric macs{"switch_mac_addresses", "Learnt hardware addresses.", gauge};
  macs.add({}, switch_control().mac_table().size());
  for (Metric* metric : {&posted, &lost, &depth, &capacity, &macs}) metrics.push_back(std::move(*metric));
}

// --- The process, under the names that are usual for it

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

double cpu_seconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// The second number in the file is how many pages are in memory.
double resident_bytes() {
  const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen("/proc/self/statm", "re"), std::fclose);
  unsigned long all = 0, resident = 0;
  if (!file || std::fscanf(file.get(), "%lu %lu", &all, &resident) != 2) return 0;
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

uint32_t open_files() {
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir("/proc/self/fd"), closedir);
  uint32_t entries = 0;
  while (directory && readdir(directory.get()) != nullptr) ++entries;
  constexpr uint32_t dots_and_the_directory = 3;
  return entries > dots_and_the_directory ? entries - dots_and_the_directory : 0;
}

const time_t started = time(nullptr);

void add_process(std::vector<Metric>& metrics) {
  Metric build{"switch_build_info", "The version that runs; the value is always 1.", gauge};
  build.add({{"version", SOFTSWITCH_VERSION}, {"compiler", __VERSION__}}, 1);
  Metric cpu{"process_cpu_seconds_total", "Time that the process has spent on processors.", counter};
  cpu.add({}, cpu_seconds());
  Metric resident{"process_resident_memory_bytes", "Memory of the process.", gauge};
  resident.add({}, resident_bytes());
  Metric files{"process_open_fds", "Files and sockets that the process has open.", gauge};
  files.add({}, open_files());
  Metric start{"process_start_time_seconds", "When the process began, since the epoch.", gauge};
  start.add({}, started);
  for (Metric* metric : {&build, &cpu, &resident, &files, &start}) metrics.push_back(std::move(*metric));
}

}  // namespace

void add_switch_metrics(std::vector<Metric>& metrics) {
  add_ports(metrics);
  add_guards(metrics);
  add_queue(metrics);
  add_process(metrics);
}

}  // namespace dhcp::softswitch::cli
