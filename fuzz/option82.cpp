/// The rewrite of option 82 under any options: the same as a plain rewrite that takes the options apart and puts them
/// together again, or refused where that finds no end.
#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "bench/null_device.h"
#include "bench/received.h"
#include "dhcp/packet.h"
#include "dhcp/snooping.h"
#include "fuzz/target.h"

namespace dhcp::fuzz {

namespace {

using Bytes = std::vector<uint8_t>;
using packet::load_be16;
using packet::store_be16;

constexpr size_t ip_at = 18, udp_at = 38, cookie_at = 282, options_at = 286, room = 1500;
constexpr int vlan = 10, module = 1;
constexpr uint32_t port = 7;

/// Settings of the VLAN as the input chooses them: bit 0 circuit, bit 1 remote, bit 2 address; bits 3.. the length.
void set_up(uint8_t how) {
  const std::string text(how >> 2, 'x');
  if ((how & 1) != 0) set_dhcp_snoop_option82_circuit_id(1, vlan, how, text.c_str());
  if ((how & 2) != 0) set_dhcp_snoop_option82_remote_id(1, vlan, how, text.c_str());
  if ((how & 4) != 0) set_dhcp_snoop_option82_ip(1, vlan, 0xc0000200u + how);
}

Bytes frame_of(std::span<const uint8_t> options, uint8_t bend) {
  Bytes frame(options_at);
  store_be16(&frame[12], packet::eth::tpid_8021q);
  store_be16(&frame[14], vlan);
  store_be16(&frame[16], packet::eth::type_ipv4);
  frame[ip_at] = 0x45;
  packet::store_be32(&frame[cookie_at], packet::dhcp4::magic_cookie);
  frame.insert(frame.end(), options.begin(), options.end());
  store_be16(&frame[ip_at + 2], static_cast<uint16_t>(frame.size() - ip_at));
  store_be16(&frame[udp_at + 4], static_cast<uint16_t>(frame.size() - udp_at));
  store_be16(&frame[udp_at + 6], 0xbeef);
  store_be16(&frame[ip_at + 10], static_cast<uint16_t>(check_sum(&frame[ip_at], 20)));
  constexpr std::array<size_t, 4> places{12, 16, ip_at, cookie_at};
  if (bend >= 252) frame[places[bend - 252]] ^= 1;
  return frame;
}

Bytes own_option() {
  uint8_t mac[6] = {}, bytes[255];
  get_option82_default_remoteid(mac);
  const int size = fill_option82(bytes, mac, vlan, port, module);
  HOLDS(size >= 10 && size <= 142 && bytes[0] == 82 && bytes[1] == size - 2);
  return {bytes, bytes + size};
}

/// Options one by one, a pad being one; the last piece is the end option and what follows. Nothing without an end.
std::optional<std::vector<Bytes>> pieces(std::span<const uint8_t> options) {
  std::vector<Bytes> all;
  for (size_t at = 0; at < options.size();) {
    if (options[at] == 255) {
      all.emplace_back(options.begin() + static_cast<std::ptrdiff_t>(at), options.end());
      return all;
    }
    size_t size = 1;
    if (options[at] != 0) {
      if (at + 1 == options.size()) return std::nullopt;
      size = size_t{2} + options[at + 1];
    }
    if (size > options.size() - at) return std::nullopt;
    const auto begin = options.begin() + static_cast<std::ptrdiff_t>(at);
    all.emplace_back(begin, begin + static_cast<std::ptrdiff_t>(size));
    at += size;
  }
  return std::nullopt;
}

std::optional<Bytes> plain_rewrite(std::span<const uint8_t> options, int mode, const Bytes& own) {
  auto all = pieces(options);
  if (!all) return std::nullopt;
  const auto is_82 = [](const Bytes& piece) { return piece[0] == 82; };
  const bool had_one = std::any_of(all->begin(), all->end() - 1, is_82);
  if (mode == 0) all->erase(std::remove_if(all->begin(), all->end() - 1, is_82), all->end() - 1);
  if (mode == 1) std::replace_if(all->begin(), all->end() - 1, is_82, own);
  if (!had_one && (mode == 1 || mode == 2)) all->insert(all->end() - 1, own);
  Bytes joined;
  for (const Bytes& piece : *all) joined.insert(joined.end(), piece.begin(), piece.end());
  return joined;
}

void check_headers(const Bytes& before, std::span<const uint8_t> after) {
  HOLDS(load_be16(&after[ip_at + 2]) == after.size() - ip_at);
  HOLDS(load_be16(&after[udp_at + 4]) == after.size() - udp_at);
  HOLDS(check_sum(&after[ip_at], 20) == 0);
  const bool changed = !std::equal(before.begin() + options_at, before.end(), after.begin() + options_at, after.end());
  HOLDS(!changed || load_be16(&after[udp_at + 6]) == 0);
  for (size_t at = 0; at < options_at; ++at) {
    const bool may_change = (at >= ip_at + 2 && at < ip_at + 4) || (at >= ip_at + 10 && at < ip_at + 12) ||
                            (at >= udp_at + 4 && at < udp_at + 8);
    HOLDS(may_change || before[at] == after[at]);
  }
}

void rewrite(const Bytes& frame, int mode, bool bent) {
  bench::ReceivedFrame received(frame);
  skpack* copy = option82_action(&received.skp(), mode, vlan, port, module);
  HOLDS(std::ranges::equal(received.bytes(), frame));
  const Bytes own = own_option();
  const auto wanted = plain_rewrite(std::span(frame).subspan(options_at), mode, own);
  const bool possible = !bent && wanted && options_at + wanted->size() <= room;
  HOLDS((copy != nullptr) == possible);
  if (copy == nullptr) return;
  const std::span<const uint8_t> bytes(copy->data, copy->psize);
  HOLDS(std::equal(bytes.begin() + options_at, bytes.end(), wanted->begin(), wanted->end()));
  check_headers(frame, bytes);
  free(copy->head);
  free(copy);
}

}  // namespace

}  // namespace dhcp::fuzz

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace dhcp::fuzz;
  dhcp::bench::null_device = {};
  dhcp::bench::use_null_device();
  init_dhcp_snooping();
  Input input(data, size);
  const int mode = input.byte() % 4;
  set_up(input.byte());
  const uint8_t bend = input.byte();
  rewrite(frame_of(input.bytes(1300), bend), mode, bend >= 252);
  exit_dhcp_snooping();
  return 0;
}
