/// What the fuzzers of the services' doors share: a new one says only what is its service's own.
///
/// A target fills a Door and ends LLVMFuzzerTestOneInput() with run_door(). `open` sets the service up with state in
/// place (bindings, pools, a trusted port) on a new null device; `step` does one thing that the input chooses: a frame,
/// a change of the configuration or of the device, time that passes; `check` looks after each step whether the
/// service's counts, links and busy words agree (ring_length() walks a list); `close` frees everything, so that a block
/// lost on the way is this input's. Frames come raw, as input.bytes(), or from a FuzzedFrame, which has right headers
/// and addresses of its client and takes the DHCP part from the caller. hand_over() gives one to the service's entry
/// with a judge for what the service sends meanwhile; the judge calls check_built_frame() for a frame that the module
/// has built, so that only what the service alone promises is left to it.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "bench/null_device.h"
#include "bench/received.h"
#include "dhcp/types.h"
#include "fuzz/target.h"

namespace dhcp::fuzz {

inline constexpr size_t largest_frame = 1600, most_steps = 64;

struct Door {
  void (*open)();
  void (*step)(Input& input);
  void (*check)();
  void (*close)();
};

/// Plays the input against a service set up anew. Returns 0, as a target does.
int run_door(const Door& door, const uint8_t* data, size_t size);

using Mac = std::array<uint8_t, 6>;

/// One of 64 clients.
inline Mac client(uint8_t n) { return {0x02, 0, 0, 0, 0, static_cast<uint8_t>(n % 64)}; }

/// A tagged frame in the making: Ethernet, IPv4 or IPv6, and UDP headers, then what is added. Its pointers stay good
/// while no more than 1600 bytes are added.
class FuzzedFrame {
 public:
  /// A broadcast from `source`, with a DHCPv4 message of 240 zero bytes but for chaddr and the cookie.
  static FuzzedFrame dhcp4(const Mac& source, uint16_t vlan);
  /// To all DHCPv6 servers and relays; the message is still to be added.
  static FuzzedFrame dhcp6(const Mac& source, uint16_t vlan, uint16_t source_port, uint16_t destination_port);

  uint8_t* ethernet() { return bytes_.data(); }
  uint8_t* ip() { return &bytes_[packet::tagged_ip_offset]; }
  /// The DHCPv4 message.
  uint8_t* message() { return &bytes_[packet::tagged_dhcp_offset]; }
  void add(std::span<const uint8_t> bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }
  /// An option with one byte each for code and length, as DHCPv4 has them.
  void option4(uint8_t code, std::span<const uint8_t> value);
  /// An option with two bytes each.
  void option6(uint16_t code, std::span<const uint8_t> value);
  /// The frame, with the lengths of its headers set.
  std::vector<uint8_t> sealed();

 private:
  FuzzedFrame(const Mac& source, uint16_t vlan, uint16_t type, size_t udp_at);

  std::vector<uint8_t> bytes_;
  size_t udp_at_;
};

/// A frame that the module sends, as the device gets it; `to_all_ports` is a flood.
struct SentFrame {
  std::span<const uint8_t> bytes;
  bool to_all_ports;
  uint32_t vlan;
  int mode;
};

/// Gives the frame to the service's entry while it is watched; each frame sent meanwhile goes to the judge. Returns the
/// answer, which is 0 or -1; aborts otherwise.
int hand_over(int (*entry)(skpack*), bench::ReceivedFrame& frame, const std::function<void(const SentFrame&)>& judge);

/// Tag, types, lengths and checksums of a frame that the module has built from nothing; a UDP checksum of 0 stands for
/// none in IPv4 alone. Aborts when one is wrong.
void check_built_frame(const SentFrame& frame);

/// Nodes of a circular list whose links agree. Aborts otherwise.
int32_t ring_length(const DhcpListHead& head);

}  // namespace dhcp::fuzz
