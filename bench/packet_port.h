/// A network interface seen raw: frames in by a mapped ring, frames out in batches.
///
/// Made to be cheap, because the load and the switch under test share the machine: a received frame costs no system
/// call of its own, and a batch of frames to send costs one.
#pragma once

#include <linux/if_packet.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace dhcp::bench {

class PacketPort {
 public:
  static constexpr size_t batch = 64;

  /// Opens `ifname` for frames of `ethertype`; false with the reason in `error`.
  bool open(const std::string& ifname, uint16_t ethertype, std::string& error);
  ~PacketPort();
  PacketPort() = default;
  PacketPort(const PacketPort&) = delete;
  PacketPort& operator=(const PacketPort&) = delete;

  /// The oldest frame not yet released, or an empty span. Valid until release().
  std::span<uint8_t> front();
  void release();

  /// Puts a frame into the batch, which goes out when it is full or on flush(). The bytes must stay until then.
  void send(std::span<const uint8_t> frame);
  void flush();

  /// Sleeps until a frame is there or `timeout_ns` have gone by.
  void wait(int64_t timeout_ns) const;

  uint64_t refused() const { return refused_; }  // frames that the kernel did not take
  uint64_t overrun() const;                      // frames that found the ring full, since the last call

 private:
  tpacket2_hdr* slot() const;

  int fd_ = -1;
  uint8_t* ring_ = nullptr;
  size_t next_ = 0;
  std::array<mmsghdr, batch> messages_{};
  std::array<iovec, batch> parts_{};
  size_t pending_ = 0;
  uint64_t refused_ = 0;
};

}  // namespace dhcp::bench
