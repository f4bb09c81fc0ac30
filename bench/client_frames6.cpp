#include "bench/client_frames6.h"

#include <algorithm>

#include "bench/client_frames.h"

namespace dhcp::bench {

namespace {

using packet::load_be16;
using packet::load_be24;
namespace udp = packet::udp;

constexpr uint8_t all_servers_mac[] = {0x33, 0x33, 0, 1, 0, 2};  // of ff02::1:2
constexpr Address6 all_servers{0xff, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 2};
constexpr uint8_t no_time[] = {0, 0};
constexpr uint8_t wanted[] = {0, 23, 0, 24};  // DNS servers, domain list
constexpr size_t ia_header = 12, address_option_size = 24;

/// The address in an IA's options, if there is one.
void read_ia(std::span<const uint8_t> ia, Answer6& answer, bool& found) {
  if (ia.size() < ia_header) return;
  each_option6(ia.subspan(ia_header), [&](uint16_t code, std::span<const uint8_t> value) {
    if (code != option6_address || value.size() < address_option_size || found) return;
    std::copy_n(value.begin(), answer.address.size(), answer.address.begin());
    found = true;
  });
}

}  // namespace

std::optional<base::MacAddress> client_at(const Address6& address) {
  const uint8_t* id = &address[8];
  const base::MacAddress mac{{static_cast<uint8_t>(id[0] ^ 2), id[1], id[2], id[5], id[6], id[7]}};
  if (link_local(mac.bytes.data()) != address) return std::nullopt;
  if (client_mac(packet::load_be24(&mac.bytes[3])) != mac) return std::nullopt;
  return mac;
}

ClientFrames6::ClientFrames6(const base::MacAddress& mac) : mac_(mac), address_(link_local(mac.bytes.data())) {}

std::span<const uint8_t> ClientFrames6::message(uint8_t type, uint32_t xid, const Answer6* from) {
  const auto* mac = mac_.bytes.data();
  const uint8_t header[] = {type, static_cast<uint8_t>(xid >> 16), static_cast<uint8_t>(xid >> 8),
                            static_cast<uint8_t>(xid)};
  const uint8_t duid[] = {0, 3, 0, 1, mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]};  // DUID-LL (section 11.4)
  const uint8_t ia[ia_header] = {mac[2], mac[3], mac[4], mac[5]};                       // IAID, T1 and T2 the server's
  writer_.begin(header);
  writer_.option(option6_client, duid);
  if (from != nullptr) writer_.option(option6_server, from->server.value());
  writer_.option(option6_elapsed, no_time);
  writer_.option(option6_wanted, wanted);
  const size_t opened = writer_.open(option6_ia);
  writer_.put(ia);
  if (from != nullptr) {
    std::array<uint8_t, address_option_size> option{};
    std::copy(from->address.begin(), from->address.end(), option.begin());
    writer_.option(option6_address, option);
  }
  writer_.close(opened);
  return writer_.sealed({mac, address_.data(), udp::port_client6},
                        {all_servers_mac, all_servers.data(), udp::port_server6});
}

std::span<const uint8_t> ClientFrames6::discover(uint32_t xid) { return message(solicit, xid, nullptr); }
std::span<const uint8_t> ClientFrames6::request(uint32_t xid, const Answer6& offer) {
  return message(request6, xid, &offer);
}
std::span<const uint8_t> ClientFrames6::release(uint32_t xid, const Answer6& lease) {
  return message(release6, xid, &lease);
}

std::optional<Answer6> read_answer6(std::span<const uint8_t> frame) {
  if (!is_udp6(frame, udp::port_client6)) return std::nullopt;
  const auto message = frame.subspan(frame6_dhcp);
  if (message[0] != advertise && message[0] != reply6) return std::nullopt;
  Answer6 answer;
  answer.xid = load_be24(&message[1]);
  answer.server_mac = base::MacAddress::from(&frame[6]);
  bool found = false, refused = false;
  each_option6(message.subspan(packet::dhcp6::header_size), [&](uint16_t code, std::span<const uint8_t> value) {
    if (code == option6_server && value.size() <= answer.server.bytes.size()) {
      std::copy(value.begin(), value.end(), answer.server.bytes.begin());
      answer.server.size = static_cast<uint8_t>(value.size());
    }
    if (code == option6_ia) read_ia(value, answer, found);
    if (code == option6_status && value.size() >= 2) refused = load_be16(value.data()) != 0;
  });
  if (found && !refused) answer.type = message[0];
  return answer;
}

}  // namespace dhcp::bench
