/// The rewrite of a frame that gains, loses or changes its option 82.
#include "snooping/option82.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "dhcp/packet.h"
#include "packet/options4.h"
#include "platform/adp.h"

namespace dhcp::snooping {

namespace {

namespace eth = packet::eth;
namespace ip4 = packet::ip4;
namespace udp = packet::udp;
namespace option = packet::option;
using packet::load_be16;
using packet::load_be32;
using packet::store_be16;

constexpr size_t cookie_at = packet::tagged_dhcp_offset + packet::dhcp4::cookie.offset;
constexpr size_t options_at = packet::tagged_dhcp_offset + packet::dhcp4::fixed_size;
static_assert(cookie_at == 282 && options_at == 286);

/// The offsets of the rewrite hold for these frames only.
bool rewritable(std::span<const uint8_t> frame) {
  constexpr uint8_t version_4_five_words = 0x45;
  return frame.size() > options_at && load_be16(&frame[eth::tpid.offset]) == eth::tpid_8021q &&
         load_be16(&frame[eth::type.offset]) == eth::type_ipv4 &&
         frame[packet::tagged_ip_offset + ip4::version_ihl.offset] == version_4_five_words &&
         load_be32(&frame[cookie_at]) == packet::dhcp4::magic_cookie;
}

/// The frame being written: appends, and keeps both lengths and checksums true to what the options have become. An
/// append that does not fit makes it fail for good.
class FrameCopy {
 public:
  FrameCopy(std::span<uint8_t> out, std::span<const uint8_t> fixed_part) : out_(out) { append(fixed_part); }

  bool ok() const { return ok_; }
  size_t size() const { return size_; }

  void append(std::span<const uint8_t> bytes) {
    ok_ = ok_ && out_.size() - size_ >= bytes.size();
    if (!ok_) return;
    std::copy(bytes.begin(), bytes.end(), out_.begin() + static_cast<std::ptrdiff_t>(size_));
    size_ += bytes.size();
  }

  /// `removed` bytes of the original are replaced by `bytes`. The UDP checksum is given up (RFC 768: zero = none), the
  /// IPv4 header's is made anew.
  void substitute(size_t removed, std::span<const uint8_t> bytes) {
    append(bytes);
    if (!ok_) return;
    uint8_t* ip = &out_[packet::tagged_ip_offset];
    uint8_t* udp_header = &out_[packet::tagged_udp_offset];
    change_length(ip + ip4::total_length.offset, removed, bytes.size());
    change_length(udp_header + udp::length.offset, removed, bytes.size());
    store_be16(udp_header + udp::checksum.offset, 0);
    store_be16(ip + ip4::checksum.offset, 0);
    store_be16(ip + ip4::checksum.offset, static_cast<uint16_t>(check_sum(ip, ip4::header_size)));
  }

 private:
  static void change_length(uint8_t* field, size_t less, size_t more) {
    store_be16(field, static_cast<uint16_t>(load_be16(field) - less + more));
  }

  std::span<uint8_t> out_;
  size_t size_ = 0;
  bool ok_ = true;
};

/// Our own option. A device MAC that cannot be read shows as zeros and is asked for again with the next frame.
class OwnOption {
 public:
  explicit OwnOption(const Ingress& from) {
    uint8_t mac[6] = {};
    get_option82_default_remoteid(mac);
    size_ = static_cast<size_t>(fill_option82(bytes_, mac, from.vlan, from.port, from.module));
  }
  std::span<const uint8_t> bytes() const { return {bytes_, size_}; }

 private:
  uint8_t bytes_[option82_most];
  size_t size_;
};

/// Bytes of the option at the head of `options`, a pad being one; 0 when it claims more than there are.
size_t option_size(std::span<const uint8_t> options) {
  if (options[0] == option::pad) return 1;
  if (options.size() < 2) return 0;
  const size_t size = size_t{2} + options[1];
  return size <= options.size() ? size : 0;
}

void copy_option82(FrameCopy& copy, std::span<const uint8_t> found, Rewrite mode, const Ingress& from) {
  if (mode == Rewrite::strip) {
    copy.substitute(found.size(), {});
  } else if (mode == Rewrite::replace) {
    copy.substitute(found.size(), OwnOption(from).bytes());
  } else {
    copy.append(found);
  }
}

}  // namespace

size_t rewrite_option82(std::span<const uint8_t> frame, std::span<uint8_t> out, Rewrite mode, const Ingress& from) {
  if (!rewritable(frame)) return 0;
  FrameCopy copy(out, frame.first(options_at));
  std::span<const uint8_t> rest = frame.subspan(options_at);
  bool had_one = false;
  while (!rest.empty() && rest[0] != option::end) {
    const size_t size = option_size(rest);
    if (size == 0) return 0;
    if (rest[0] == option::agent_information) {
      had_one = true;
      copy_option82(copy, rest.first(size), mode, from);
    } else {
      copy.append(rest.first(size));
    }
    rest = rest.subspan(size);
  }
  if (rest.empty()) return 0;
  if (!had_one && (mode == Rewrite::replace || mode == Rewrite::add)) copy.substitute(0, OwnOption(from).bytes());
  copy.append(rest);
  return copy.ok() ? copy.size() : 0;
}

}  // namespace dhcp::snooping

skpack* option82_action(skpack* frame, int mode, int vlan, uint32_t port, int module) {
  using namespace dhcp::snooping;
  struct Free {
    void operator()(void* block) const { free(block); }
  };
  if (frame->data == nullptr) return nullptr;
  std::unique_ptr<uint8_t, Free> buffer(static_cast<uint8_t*>(calloc(1, rewrite_room)));
  std::unique_ptr<skpack, Free> record(static_cast<skpack*>(calloc(1, sizeof(skpack))));
  if (buffer == nullptr || record == nullptr) return nullptr;
  const size_t size = rewrite_option82({frame->data, frame->psize}, {buffer.get(), rewrite_room},
                                       static_cast<Rewrite>(mode), {vlan, port, module});
  if (size == 0) return nullptr;
  record->head = record->data = buffer.release();
  record->psize = static_cast<uint32_t>(size);
  record->in_intf = frame->in_intf;
  return record.release();
}
