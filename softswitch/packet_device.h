/// One Linux interface as the switch drives it: a receive ring shared with the kernel, and a batch of frames to send.
///
/// A slot of the ring is as long as a DHCP message that everybody takes, of 576 bytes of IP (RFC 2131 section 2): the
/// ring is memory that every port holds for good, and it is there for bursts of short frames. A longer frame waits
/// beside the ring and costs a call. One that is longer than any cable carries (local kernels send
/// TCP in pieces of 64 KiB, to be cut by a network card) has a note of what is left to do, and goes on as it came, note
/// and all.
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

/// What the kernel leaves to the network card on a large frame: its struct virtio_net_hdr (whose own header is no C++).
struct OffloadNote {
  static constexpr uint8_t needs_checksum = 1;
  uint8_t flags = 0, cut_as = 0;
  uint16_t header_size = 0, cut_size = 0;
  uint16_t checksum_from = 0, checksum_at = 0;
};
static_assert(sizeof(OffloadNote) == 10);

/// A received frame, at its place in the ring or in the device's buffer for large ones.
struct RingFrame {
  uint8_t* data = nullptr;
  uint32_t size = 0;
  bool usable = false;      // whole, and an Ethernet frame
  bool unfinished = false;  // the sender's kernel left the UDP or TCP checksum out
  bool stripped = false;    // a tag came beside the frame
  uint16_t tag_type = 0, tci = 0;
  const OffloadNote* large = nullptr;  // what is left to do with a large frame
};

class PacketDevice {
 public:
  static constexpr unsigned batch_frames = 16;     // few enough that the other end begins while more come
  static constexpr uint32_t longest_frame = 2048;  // of those that are not large

  /// Opens the interface and brings it up. At least so many frames wait for the switch. Null and `error` on failure.
  static std::unique_ptr<PacketDevice> open(const std::string& ifname, uint32_t slots, std::string& error);
  ~PacketDevice();
  PacketDevice(const PacketDevice&) = delete;
  PacketDevice& operator=(const PacketDevice&) = delete;

  int fd() const { return fd_; }
  int index() const { return index_; }

  /// The oldest received frame; it stays where it is until pop().
  bool peek(RingFrame& out);
  void pop();

  /// Adds a frame to the batch; the two parts are joined. False when it is too long. A full batch is sent first.
  bool queue(std::span<const uint8_t> head, std::span<const uint8_t> rest);
  /// Sends a large frame, at once.
  void send_large(const OffloadNote& note, std::span<const uint8_t> head, std::span<const uint8_t> rest);
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
  PacketDevice(int fd, int sender, int index);
  bool map_ring(uint32_t slots);
  void read_beside(RingFrame& out);

  int fd_;      // receives, and sends what is large
  int sender_;  // sends the rest, without a note for each
  int index_;
  uint8_t *ring_ = nullptr, *ring_end_ = nullptr, *slot_ = nullptr;  // the ring in blocks, a page each
  uint32_t block_ = 0, slots_a_block_ = 0, slot_of_block_ = 0;
  std::unique_ptr<Batch> batch_;
  std::unique_ptr<uint8_t[]> beside_;  // made with the first frame that did not fit into a slot
  size_t beside_size_ = 0;             // of the frame in it, 0 = not read yet
  OffloadNote note_;
  unsigned queued_ = 0;
  Counters counters_;
};

}  // namespace dhcp::softswitch
