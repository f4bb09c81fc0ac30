#include "packet/frame4.h"

namespace dhcp::packet {

namespace {

/// Offset of `p` when `size` bytes from it lie in the frame.
std::optional<size_t> offset_in(std::span<uint8_t> frame, const uint8_t* p, size_t size) {
  const auto begin = reinterpret_cast<uintptr_t>(frame.data());
  const auto at = reinterpret_cast<uintptr_t>(p);
  if (p == nullptr || at < begin || at - begin > frame.size()) return std::nullopt;
  const size_t offset = at - begin;
  if (frame.size() - offset < size) return std::nullopt;
  return offset;
}

}  // namespace

std::optional<Frame4> Frame4::parse(const skpack& skp) {
  constexpr size_t tag_size = 4;
  const std::span<uint8_t> frame(skp.data, skp.data == nullptr ? 0 : skp.psize);
  if (frame.size() < eth::tci.offset) return std::nullopt;

  size_t tag = 0;
  if (skp.vlan_tag != nullptr) {
    const auto at = offset_in(frame, skp.vlan_tag, tag_size);
    if (!at || *at == 0) return std::nullopt;
    tag = *at;
  }
  const auto ip = offset_in(frame, skp.ip_hdr, ip4::header_size);
  const uint8_t* udp_header = skp.ud_hdr != nullptr ? skp.ud_hdr : skp.upper;
  const auto udp = offset_in(frame, udp_header, udp::header_size + dhcp4::fixed_size);
  if (!ip || !udp) return std::nullopt;
  const auto message = Message4::at(frame.subspan(*udp + udp::header_size));
  if (!message) return std::nullopt;
  return Frame4(frame, tag, *ip, skp.in_intf, *message);
}

uint16_t Frame4::vlan() const {
  if (!tagged()) return untagged_vlan;
  return load_be16(&frame_[tag_offset_ + 2]) & eth::vid_mask;
}

}  // namespace dhcp::packet
