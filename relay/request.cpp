#include "relay/request.h"

#include <algorithm>
#include <cstdio>

#include "base/guard.h"
#include "base/log.h"
#include "dhcp/packet.h"
#include "dhcp/snooping.h"
#include "packet/options4.h"
#include "relay/rewrite.h"
#include "snooping/option82.h"

namespace dhcp::relay {

namespace {

namespace ip4 = packet::ip4;
namespace udp = packet::udp;
namespace dhcp4 = packet::dhcp4;
namespace option = packet::option;
using packet::load_be16;
using packet::load_be32;
using packet::store_be16;

constexpr size_t message_at = packet::tagged_dhcp_offset;
constexpr size_t cookie_at = message_at + dhcp4::cookie.offset;
constexpr size_t options_at = message_at + dhcp4::fixed_size;
static_assert(cookie_at == 282 && options_at == 286);

constexpr int keep = 1, replace = 0;  // positions of the trust switch

/// Our own option 82. Its settings belong to snooping, and to its lock.
class OwnOption {
 public:
  OwnOption(uint16_t port, uint16_t vlan) {
    const base::MacAddress mac = device_mac();
    const base::CancelHold hold;
    const bool owned = dhcp_snooping_mutex_lock_func() == 0;
    size_ = static_cast<size_t>(fill_option82(bytes_, mac.bytes.data(), vlan, port, 0));
    if (owned) dhcp_snooping_mutex_unlock_func();
  }
  std::span<const uint8_t> bytes() const { return {bytes_, size_}; }

 private:
  uint8_t bytes_[snooping::option82_most];
  size_t size_ = 0;
};

/// The UDP checksum stays as the client sent it: only a routed request gives it up.
void grow(uint8_t* frame, size_t bytes) {
  for (uint8_t* length : {frame + packet::tagged_ip_offset + ip4::total_length.offset,
                          frame + packet::tagged_udp_offset + udp::length.offset}) {
    store_be16(length, static_cast<uint16_t>(load_be16(length) + bytes));
  }
  seal_ip_header(frame);
}

size_t refuse(int32_t trust) {
  DHCP_LOG_IN("DHCPR_handler", base::module_relay, "dhcp_relay", "error config (trust switch %d)\r\n", trust);
  printf("error config (trust switch %d)\r\n", trust);
  return 0;
}

}  // namespace

/// Appends to the frame being built; the first append that does not fit makes it fail for good.
class Request::Copy {
 public:
  explicit Copy(std::span<uint8_t> out) : out_(out) {}
  void append(std::span<const uint8_t> bytes) {
    ok_ = ok_ && out_.size() - size_ >= bytes.size();
    if (!ok_) return;
    std::copy(bytes.begin(), bytes.end(), out_.begin() + static_cast<std::ptrdiff_t>(size_));
    size_ += bytes.size();
  }
  size_t size() const { return ok_ ? size_ : 0; }

 private:
  std::span<uint8_t> out_;
  size_t size_ = 0;
  bool ok_ = true;
};

std::optional<Request> Request::parse(std::span<uint8_t> frame) {
  if (frame.size() < options_at || load_be32(&frame[cookie_at]) != dhcp4::magic_cookie) return std::nullopt;
  Request request(frame);
  return request.walk() ? std::optional(request) : std::nullopt;
}

bool Request::walk() {
  const std::span<uint8_t> options = frame_.subspan(options_at);
  size_t index = 0;
  packet::Option4 found{};
  packet::OptionStep step;
  while ((step = packet::next_option(options, index, found)) == packet::OptionStep::found) {
    if (found.code == option::agent_information) has_option82_ = true;
    if (found.code == option::overload) overloaded_ = true;
    if (found.code == option::message_type && type_ == 0 && !found.value.empty()) type_ = found.value.front();
    const bool named = !server_ && found.code == option::server_id && found.value.size() >= 4;
    if (named && index <= packet::options_read_limit) server_ = load_be32(found.value.data());
  }
  end_ = options_at + index;
  return step == packet::OptionStep::end;
}

std::optional<uint32_t> Request::server() const {
  if (server_ || !overloaded_) return server_;
  const auto value = packet::find_in_message(*packet::Message4::at(frame_.subspan(message_at)), option::server_id);
  if (!value || value->size() < 4) return std::nullopt;
  return load_be32(value->data());
}

uint8_t Request::hops() const { return frame_[message_at + dhcp4::hops.offset]; }

/// Everything between two of the client's is copied in one piece, pads included.
void Request::replace_option82(Copy& copy, std::span<const uint8_t> own) const {
  const std::span<uint8_t> options = frame_.subspan(options_at);
  size_t index = 0, copied = 0;
  packet::Option4 found{};
  copy.append(frame_.first(options_at));
  while (packet::next_option(options, index, found) == packet::OptionStep::found) {
    if (found.code != option::agent_information) continue;
    const size_t start = index - found.value.size() - 2;
    copy.append(options.subspan(copied, start - copied));
    copy.append(own);
    copied = index;
  }
  copy.append(options.subspan(copied));
}

/// Ours replaces the client's only without trust, and is added only with trust.
size_t Request::copy_to(std::span<uint8_t> out, uint16_t port, uint16_t vlan) const {
  const int32_t trust = dhcpr_cfg.trust.load(std::memory_order_relaxed);
  if (has_option82_ && trust != keep && trust != replace) return refuse(trust);
  const bool add = !has_option82_ && trust == keep && dhcpr_cfg.option82.load(std::memory_order_relaxed) == 1;
  Copy copy(out);
  if (has_option82_ && trust == replace) {
    replace_option82(copy, OwnOption(port, vlan).bytes());
  } else if (add) {
    copy.append(frame_.first(end_));
    copy.append(OwnOption(port, vlan).bytes());
    copy.append(frame_.subspan(end_));
  } else {
    copy.append(frame_);
    return copy.size();
  }
  if (copy.size() != 0) grow(out.data(), copy.size() - frame_.size());
  return copy.size();
}

}  // namespace dhcp::relay
