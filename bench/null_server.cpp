/// dhcp_null_server: a DHCP and DHCPv6 server that costs next to nothing, for the far side of a trusted port or of a
/// relay.
///
/// Each client has one address, told from its MAC and never written down, so that what is measured is the switch in
/// between. A DISCOVER is answered with an OFFER and a REQUEST with an ACK; anything else is let go by. Option 82 comes
/// back as it came (RFC 3046 section 2.2), behind all other options. What comes through a relay agent is answered to
/// the agent (RFC 2131 section 4.1), and whoever asks for the server's MAC is told. DHCPv6 alike: ADVERTISE and REPLY,
/// to a client or in a Relay-reply. At its end it says how many it answered, as one JSON object. Exit status 0 = ran,
/// 1 = could not, 2 = wrong usage.
#include <getopt.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/clock.h"
#include "bench/null_answer.h"
#include "bench/packet_port.h"
#include "packet/bytes.h"
#include "packet/layout.h"

namespace {

using namespace dhcp::bench;

volatile std::sig_atomic_t stop_asked = 0;
Answered answered;

constexpr double longest_s = 600;
constexpr int64_t patience_ns = 100'000'000;
constexpr uint16_t all_types = 0x0003;  // the kernel's word for every EtherType

bool is_ip6(std::span<const uint8_t> frame) {
  return frame.size() >= 14 && dhcp::packet::load_be16(&frame[12]) == dhcp::packet::eth::type_ipv6;
}

void serve(PacketPort& port, double seconds) {
  const int64_t end = now_ns() + static_cast<int64_t>(seconds * static_cast<double>(second_ns));
  std::vector<AnswerFrame> answers(PacketPort::batch);
  while (stop_asked == 0 && now_ns() < end) {
    if (port.front().empty()) port.wait(patience_ns);
    size_t used = 0;
    for (auto frame = port.front(); !frame.empty() && used < answers.size(); frame = port.front()) {
      const auto reply =
          is_ip6(frame) ? answer6(frame, answers[used], answered) : answer4(frame, answers[used], answered);
      port.release();
      if (reply.empty()) continue;
      port.send(reply);
      ++used;
    }
    port.flush();
  }
}

bool read_options(int argc, char** argv, std::string& ifname, double& seconds) {
  static const option known[] = {{"iface", required_argument, nullptr, 'i'},
                                 {"seconds", required_argument, nullptr, 's'},
                                 {nullptr, 0, nullptr, 0}};
  for (int chosen; (chosen = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
    switch (chosen) {
      case 'i': ifname = optarg; break;
      case 's': seconds = std::min(strtod(optarg, nullptr), longest_s); break;
      default: return false;
    }
  }
  return !ifname.empty() && optind == argc;
}

}  // namespace

int main(int argc, char** argv) {
  std::string ifname, error;
  double seconds = 60;
  if (!read_options(argc, argv, ifname, seconds)) {
    fputs("usage: dhcp_null_server --iface IF [--seconds 60]   answers until then, or until it is told to end\n",
          stderr);
    return 2;
  }
  signal(SIGTERM, [](int) { stop_asked = 1; });
  signal(SIGINT, [](int) { stop_asked = 1; });
  PacketPort port;
  if (!port.open(ifname, all_types, error)) {
    fprintf(stderr, "dhcp_null_server: %s\n", error.c_str());
    return 1;
  }
  serve(port, seconds);
  printf("{\"answered\": %llu, \"with_agent\": %llu}\n", static_cast<unsigned long long>(answered.all),
         static_cast<unsigned long long>(answered.with_agent));
  return 0;
}
