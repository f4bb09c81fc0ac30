/// The bare cost of the wire: frames sent back by a reflector, counted by the sender.
#pragma once

#include <csignal>
#include <cstdint>

#include "bench/latency.h"
#include "bench/packet_port.h"

namespace dhcp::bench {

/// An ethertype of nobody's (IEEE 802 local experimental), so that no other program joins in.
inline constexpr uint16_t echo_ethertype = 0x88b5;

/// Sends back what comes in until `stop` is set or `seconds` have gone by.
void reflect(PacketPort& port, double seconds, const volatile std::sig_atomic_t& stop);

struct EchoResult {
  uint64_t sent = 0, returned = 0;
  double seconds = 0;
  Latencies latency;
};

/// Keeps `window` frames of the size of a client's under way for `seconds`.
EchoResult echo(PacketPort& port, uint32_t window, double seconds);

}  // namespace dhcp::bench
