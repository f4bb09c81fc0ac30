/// One Linux interface as the switch drives it: a receive ring shared with the kernel, and a batch of frames to send.
///
/// Received frames are read where the kernel put them; none is copied before the switch knows where it goes. Sent
/// frames are collected and handed over in one call. (A transmit ring would spare a copy, but the kernel gives its
/// slots back before a receiver in another namespace has read them.) Used under the fabric's lock.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace dhcp::softswitch {

/// A frame in the ring: at least `headroom` bytes before it may be written too.
struct RingFrame {
  static constexpr uint32_t headroom = 8;
  uint8_t* data = nullptr;
  uint32_t size = 0;
  bool usable = false;      // whole, and an Ethernet frame
  bool unfinished = false;  // the sender's kernel left the UDP or TCP checksum out
  bool stripped = false;    // a tag came beside the frame
  uint16_t tag_type = 0, tci = 0;
};

class PacketDevice {
 public:
  static constexpr unsigned batch_frames = 32;
  static constexpr uint32_t slot_size = 2048;

  /// Opens the interface and brings it up. `slots` of 2 KiB each wait for the switch. Null and `error` on failure.
  static std::unique_ptr<PacketDevice> open(const std::string& ifname, uint32_t slots, std::string& error);
  ~PacketDevice();
  PacketDevice(const PacketDevice&) = delete;
  PacketDevice& operator=(const PacketDevice&) = delete;

  int fd() const { return fd_; }
  int index() const { return index_; }

  /// The oldest received frame; it stays in the ring until pop().
  bool peek(RingFrame& out);
  void pop();

  /// Adds a frame to the batch; the two parts are joined. False when it is too long. A full batch is sent first.
  bool queue(std::span<const uint8_t> head, std::span<const uint8_t> rest);
  bool pending() const { return queued_ != 0; }
  void flush();

  struct Counters {
    uint64_t tx_frames = 0, tx_bytes = 0, tx_failed = 0, rx_lost = 0;
  };
  const Counters& counters() const { return counters_; }
  /// Asks the kernel how many frames it had no room for.
  void update_lost();

 private:
  struct Batch;
  PacketDevice(int fd, int index);
  bool map_ring(uint32_t slots);
  bool bind_to(int index);
  uint8_t* slot() const { return ring_ + size_t{at_} * slot_size; }

  int fd_, index_;
  uint8_t* ring_ = nullptr;
  uint32_t slots_ = 0, at_ = 0;
  std::unique_ptr<Batch> batch_;
  unsigned queued_ = 0;
  Counters counters_;
};

}  // namespace dhcp::softswitch
