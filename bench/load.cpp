/// dhcp_load: a bounded DHCP load on one interface, or the echo that it is compared with.
///
/// The result is one JSON object on standard output. Exit status 0 = ran, 1 = could not, 2 = wrong usage.
#include <getopt.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bench/echo.h"
#include "bench/exchange_load.h"

namespace {

using dhcp::bench::LoadPlan;
using dhcp::bench::PacketPort;

volatile std::sig_atomic_t stop_asked = 0;

constexpr double longest_s = 600;

struct Options {
  std::string ifname, mode = "load";
  LoadPlan plan;
  bool ipv6 = false;
};

double cpu_seconds() {
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  const auto seconds = [](const timeval& t) {
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

int usage() {
  fputs(
      "usage: dhcp_load --iface IF [--clients 400] [--window 32] [--rate PER_SECOND] [--seconds 5]\n"
      "                 [--exchanges N] [--timeout-ms 1000] [--release] [--ipv6]   DHCP or DHCPv6 exchanges\n"
      "       dhcp_load --iface IF --echo [--window 32] [--seconds 5]     frames to a reflector and back\n"
      "       dhcp_load --iface IF --reflect [--seconds 5]                the reflector\n",
      stderr);
  return 2;
}

bool read_options(int argc, char** argv, Options& out) {
  static const option known[] = {{"iface", required_argument, nullptr, 'i'},
                                 {"clients", required_argument, nullptr, 'c'},
                                 {"window", required_argument, nullptr, 'w'},
                                 {"rate", required_argument, nullptr, 'r'},
                                 {"seconds", required_argument, nullptr, 's'},
                                 {"exchanges", required_argument, nullptr, 'n'},
                                 {"timeout-ms", required_argument, nullptr, 't'},
                                 {"release", no_argument, nullptr, 'R'},
                                 {"ipv6", no_argument, nullptr, '6'},
                                 {"echo", no_argument, nullptr, 'e'},
                                 {"reflect", no_argument, nullptr, 'f'},
                                 {nullptr, 0, nullptr, 0}};
  for (int chosen; (chosen = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
    const auto number = [] { return static_cast<uint32_t>(strtoul(optarg, nullptr, 10)); };
    switch (chosen) {
      case 'i': out.ifname = optarg; break;
      case 'c': out.plan.clients = number(); break;
      case 'w': out.plan.window = number(); break;
      case 'r': out.plan.rate = strtod(optarg, nullptr); break;
      case 's': out.plan.seconds = std::min(strtod(optarg, nullptr), longest_s); break;
      case 'n': out.plan.exchanges = strtoull(optarg, nullptr, 10); break;
      case 't': out.plan.timeout_ms = number(); break;
      case 'R': out.plan.release = true; break;
      case '6': out.ipv6 = true; break;
      case 'e': out.mode = "echo"; break;
      case 'f': out.mode = "reflect"; break;
      default: return false;
    }
  }
  return !out.ifname.empty() && optind == argc;
}

uint16_t ethertype(const Options& options) {
  return options.ipv6 ? dhcp::bench::Dhcp6::ethertype : dhcp::bench::Dhcp4::ethertype;
}

void print_load(dhcp::bench::LoadResult& r, const PacketPort& port) {
  printf("{\"begun\": %llu, \"completed\": %llu, \"seconds\": %.3f, \"per_second\": %.1f, \"drop_percent\": %.4f,\n",
         static_cast<unsigned long long>(r.begun), static_cast<unsigned long long>(r.completed), r.seconds,
         static_cast<double>(r.completed) / r.seconds,
         r.begun == 0 ? 0 : 100.0 * static_cast<double>(r.drops()) / static_cast<double>(r.begun));
  printf(" \"no_offer\": %llu, \"no_ack\": %llu, \"naks\": %llu, \"wrong\": %llu,\n",
         static_cast<unsigned long long>(r.no_offer), static_cast<unsigned long long>(r.no_ack),
         static_cast<unsigned long long>(r.naks), static_cast<unsigned long long>(r.wrong));
  printf(" \"latency_us\": {\"median\": %.1f, \"p99\": %.1f, \"max\": %.1f},\n", r.latency.quantile(0.5),
         r.latency.quantile(0.99), r.latency.quantile(1));
  printf(
      " \"clients_served\": %u, \"addresses\": %u, \"load_cpu_s\": %.3f, \"tx_refused\": %llu, \"rx_overrun\": %llu}\n",
      r.clients_served, r.addresses, cpu_seconds(), static_cast<unsigned long long>(port.refused()),
      static_cast<unsigned long long>(port.overrun()));
}

template <class Protocol>
void load(PacketPort& port, const LoadPlan& plan) {
  auto result = dhcp::bench::ExchangeLoad<Protocol>(port, plan).run();
  print_load(result, port);
}

void print_echo(dhcp::bench::EchoResult& r) {
  printf(
      "{\"sent\": %llu, \"returned\": %llu, \"seconds\": %.3f, \"per_second\": %.1f,\n"
      " \"latency_us\": {\"median\": %.1f, \"p99\": %.1f}, \"load_cpu_s\": %.3f}\n",
      static_cast<unsigned long long>(r.sent), static_cast<unsigned long long>(r.returned), r.seconds,
      static_cast<double>(r.returned) / r.seconds, r.latency.quantile(0.5), r.latency.quantile(0.99), cpu_seconds());
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!read_options(argc, argv, options)) return usage();
  signal(SIGTERM, [](int) { stop_asked = 1; });
  signal(SIGINT, [](int) { stop_asked = 1; });
  PacketPort port;
  std::string error;
  if (!port.open(options.ifname, ethertype(options), error)) {
    fprintf(stderr, "dhcp_load: %s\n", error.c_str());
    return 1;
  }
  if (options.mode == "load") {
    options.ipv6 ? load<dhcp::bench::Dhcp6>(port, options.plan) : load<dhcp::bench::Dhcp4>(port, options.plan);
  } else if (options.mode == "echo") {
    auto result = dhcp::bench::echo(port, options.plan.window, options.plan.seconds);
    print_echo(result);
  } else {
    dhcp::bench::reflect(port, options.plan.seconds, stop_asked);
  }
  return 0;
}
