#include "packet/link_frame.h"

namespace dhcp::packet {

std::optional<size_t> LinkFrame::offset_of(const uint8_t* p, size_t size) const {
  const auto begin = reinterpret_cast<uintptr_t>(frame_.data());
  const auto at = reinterpret_cast<uintptr_t>(p);
  if (p == nullptr || at < begin || at - begin > frame_.size()) return std::nullopt;
  const size_t offset = at - begin;
  if (frame_.size() - offset < size) return std::nullopt;
  return offset;
}

std::optional<LinkFrame> LinkFrame::parse(const skpack& skp) {
  constexpr size_t tag_size = 4;
  LinkFrame link(std::span(skp.data, skp.data == nullptr ? 0 : skp.psize), skp.in_intf);
  if (link.frame_.size() < eth::tci.offset) return std::nullopt;
  if (skp.vlan_tag != nullptr) {
    const auto at = link.offset_of(skp.vlan_tag, tag_size);
    if (!at || *at == 0) return std::nullopt;
    link.tag_offset_ = *at;
  }
  return link;
}

uint16_t LinkFrame::vlan() const {
  if (!tagged()) return untagged_vlan;
  return load_be16(&frame_[tag_offset_ + 2]) & eth::vid_mask;
}

void LinkFrame::set_vlan(uint16_t vid) {
  uint8_t* tci = &frame_[tag_offset_ + 2];
  store_be16(tci, static_cast<uint16_t>((load_be16(tci) & ~eth::vid_mask) | (vid & eth::vid_mask)));
}

std::optional<uint16_t> tag_in(std::span<const uint8_t> frame) {
  if (frame.size() < eth::tci.end() || load_be16(&frame[eth::tpid.offset]) != eth::tpid_8021q) return std::nullopt;
  return load_be16(&frame[eth::tci.offset]) & eth::vid_mask;
}

}  // namespace dhcp::packet
