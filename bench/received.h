/// A frame as the chip hands it to the CPU: its bytes in a block of exactly their size, and the header pointers that
/// the device derives from them.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include "packet/bytes.h"
#include "packet/layout.h"
#include "platform/adp.h"

namespace dhcp::bench {

inline constexpr size_t tag_offset = packet::eth::tpid.offset, tag_size = 4;

/// Puts an 802.1Q tag into an untagged frame. `out` has room for four bytes more; returns their number.
inline size_t tag_frame(std::span<const uint8_t> untagged, uint16_t vlan, uint8_t* out) {
  memcpy(out, untagged.data(), tag_offset);
  packet::store_be16(out + tag_offset, packet::eth::tpid_8021q);
  packet::store_be16(out + tag_offset + 2, vlan);
  memcpy(out + tag_offset + tag_size, untagged.data() + tag_offset, untagged.size() - tag_offset);
  return untagged.size() + tag_size;
}

class ReceivedFrame {
 public:
  /// Copies `bytes` and dissects them as the device does: no pointer is set for a header that is not there. Behind them
  /// there is `room` for a longer frame.
  explicit ReceivedFrame(std::span<const uint8_t> bytes, uint32_t port = 1, size_t room = 0)
      : storage_(new uint8_t[bytes.size() + room + 1]) {
    memcpy(storage_.get(), bytes.data(), bytes.size());
    skp_.in_intf = port;
    dissect(storage_.get(), bytes.size());
  }

  skpack& skp() { return skp_; }
  std::span<uint8_t> bytes() { return {skp_.data, skp_.psize}; }

 private:
  void dissect(uint8_t* frame, size_t size) {
    skp_.head = skp_.data = frame;
    skp_.psize = static_cast<uint32_t>(size);
    const bool tagged =
        size >= tag_offset + 2 * tag_size && packet::load_be16(frame + tag_offset) == packet::eth::tpid_8021q;
    const size_t ip = packet::eth::tci.offset + (tagged ? tag_size : 0);
    if (tagged) skp_.vlan_tag = frame + tag_offset;
    if (size < ip) return;
    const uint16_t type = packet::load_be16(frame + ip - 2);
    size_t udp = 0;
    if (type == packet::eth::type_ipv4 && size >= ip + packet::ip4::header_size) {
      skp_.ip_hdr = frame + ip;
      udp = ip + size_t{frame[ip]} % 16 * 4;
      if (frame[ip + packet::ip4::protocol.offset] != packet::ip4::protocol_udp) return;
    } else if (type == packet::eth::type_ipv6 && size >= ip + packet::ip6::header_size) {
      skp_.ip6_hdr = frame + ip;
      udp = ip + packet::ip6::header_size;
      if (frame[ip + packet::ip6::next_header.offset] != packet::ip6::next_header_udp) return;
    } else {
      return;
    }
    skp_.upper = frame + udp;
    if (size >= udp + packet::udp::header_size) skp_.ud_hdr = frame + udp;
  }

  std::unique_ptr<uint8_t[]> storage_;
  skpack skp_{};
};

/// The same from an untagged frame.
inline ReceivedFrame tagged_frame(std::span<const uint8_t> untagged, uint16_t vlan, uint32_t port = 1) {
  std::vector<uint8_t> frame(untagged.size() + tag_size);
  tag_frame(untagged, vlan, frame.data());
  return ReceivedFrame(frame, port);
}

}  // namespace dhcp::bench
