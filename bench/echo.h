/// The bare cost of the wire: frames sent back by a reflector, counted by the sender. They are clients' DISCOVERs, so
/// that the kernels at both ends make as much of them as of the exchanges that are held against this.
#pragma once

#include <csignal>
#include <cstdint>

#include "bench/latency.h"
#include "bench/packet_port.h"

namespace dhcp::bench {

/// Sends back what comes in until `stop` is set or `seconds` have gone by.
void reflect(PacketPort& port, double seconds, const volatile std::sig_atomic_t& stop);

struct EchoResult {
  uint64_t sent = 0, returned = 0;
  double seconds = 0;
  Latencies latency;
};

/// Keeps `window` frames under way for `seconds`.
EchoResult echo(PacketPort& port, uint32_t window, double seconds);

}  // namespace dhcp::bench
