/// The module on the fake device, and what is true of it at any moment: its counts, its guards, its memory.
#pragma once

#include <cstdint>
#include <vector>

#include "soak/dice.h"
#include "tests/unit/wire6.h"

namespace soak {

using wire::Bytes;
using wire::Mac;

/// Which services a run of the module has on.
enum class Life { servers, snooping, relays, snooping_and_relays };
inline bool serves(Life life) { return life == Life::servers; }
inline bool snoops(Life life) { return life == Life::snooping || life == Life::snooping_and_relays; }
inline bool relays(Life life) { return life == Life::relays || life == Life::snooping_and_relays; }

enum class Family { ip4, ip6 };

inline constexpr uint32_t uplink = 24;  // trusted; servers are behind it
inline constexpr uint16_t client_vlan = 10, server_vlan = 20, own_vlan = 30;
inline constexpr uint32_t own_ip = wire::ip(192, 168, 0, 1), server_ip = wire::ip(10, 20, 0, 5);
inline constexpr Mac own_mac = fake::Device::default_mac, server_mac{0x02, 0xbb, 0, 0, 0, 5};

class Switch {
 public:
  /// Begins a life: no files, no bindings, and its tasks have been started and stopped once.
  void begin(Life life);
  /// Saves its bindings, stops, begins again with the same configuration, and reads them back.
  void restart();
  /// Stops, and leaves no block behind that was not there after the first life.
  void end();

  Life life() const { return life_; }
  uint64_t frames() const { return frames_; }
  void receive(const Bytes& frame, uint32_t port, Family family);
  /// What has left the switch since the last time.
  static std::vector<fake::Sent> sent();
  /// A second passes, and the tasks do their work.
  void second();
  /// Every list is whole, every guard at rest, and the counters add up to the frames.
  void check() const;

 private:
  void configure();
  void check_counters() const;

  Life life_ = Life::servers;
  uint64_t frames_ = 0;
  uint32_t seconds_ = 0;
  uint32_t ip4_ = 0, ip6_ = 0, to_client6_ = 0;  // frames of this run
  size_t blocks_at_rest_ = 0;
};

}  // namespace soak
