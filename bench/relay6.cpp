/// bench_relay6: what one relayed message costs the DHCPv6 relay, by the number of clients that it remembers.
///
/// Clients take turns, so that each message is for another slot of the table. Beside the times it prints cost(100) /
/// cost(1) and the blocks taken per message, and what a request costs that goes to eleven destinations.
#include <array>
#include <numeric>

#include "base/ip6.h"
#include "bench/client_frames.h"
#include "bench/harness.h"
#include "bench/null_device.h"
#include "dhcp/relay6.h"
#include "packet/carried6.h"
#include "packet/datagram6.h"
#include "packet/options6.h"

namespace dhcp::bench {

namespace {

constexpr uint16_t client_vlan = NullDevice::vlans[0], server_vlan = NullDevice::vlans[1];
constexpr uint8_t server_mac[6] = {2, 0xbb, 0, 0, 0, 1};

base::Ip6 client_ip(uint32_t index) {
  base::Ip6 ip{{0xfe, 0x80}};
  packet::store_be32(&ip.bytes[12], index);
  return ip;
}

base::Ip6 server_ip(uint8_t number) { return {{0x20, 1, 0x0d, 0xb8, 0, 0x20, 0, 0, 0, 0, 0, 0, 0, 0, 0, number}}; }

/// A SOLICIT as clients send it: identifier, elapsed time, option request, IA_NA.
size_t put_solicit(std::span<uint8_t> room, uint32_t index) {
  packet::OptionWriter6 options(room);
  room[0] = static_cast<uint8_t>(packet::MessageType6::solicit);
  packet::store_be24(&room[1], index);
  options.add(packet::option6::client_id, packet::duid_ll(client_mac(index)));
  constexpr uint16_t elapsed_time = 8;
  options.add_u16(elapsed_time, 0);
  options.add(packet::option6::option_request, std::array<uint8_t, 8>{0, 17, 0, 23, 0, 24, 0, 39});
  options.add(packet::option6::ia_na, std::array<uint8_t, 12>{});
  return options.message_size();
}

ReceivedFrame solicit(uint32_t index) {
  std::array<uint8_t, packet::datagram6_room> frame{};
  const size_t size = put_solicit(packet::datagram6_message(frame), index);
  packet::Datagram6 datagram{packet::all_dhcp6_servers_mac,
                             {},
                             client_vlan,
                             client_ip(index),
                             packet::all_dhcp6_servers,
                             packet::udp::port_client6,
                             packet::udp::port_server6};
  return ReceivedFrame(packet::finish_datagram6(frame, size, datagram));
}

/// The server's Relay-reply for that client, as long as the SOLICIT inside it.
ReceivedFrame reply(uint32_t index) {
  std::array<uint8_t, packet::datagram6_room> frame{}, inner{};
  std::array<uint8_t, 32> link_and_peer{};
  client_ip(index).copy_to(&link_and_peer[16]);
  const size_t carried = put_solicit(inner, index);
  const size_t size = packet::put_relay_message(packet::datagram6_message(frame), packet::MessageType6::relay_reply, 0,
                                                link_and_peer, std::span(inner).first(carried));
  const packet::Datagram6 datagram{base::MacAddress::from(NullDevice::mac),
                                   base::MacAddress::from(server_mac),
                                   server_vlan,
                                   server_ip(1),
                                   server_ip(0),
                                   packet::udp::port_server6,
                                   packet::udp::port_server6};
  return ReceivedFrame(packet::finish_datagram6(frame, size, datagram), 24);
}

/// The relay with some destinations and `count` clients in its table.
class Relay {
 public:
  explicit Relay(uint32_t count, uint8_t destinations = 1) {
    init_dhcp6_relay_cfg();
    for (uint8_t number = 1; number <= destinations; ++number) {
      dhcp6_relay_find_dhcp_serverip(server_ip(number).bytes.data(), 1, server_mac, server_vlan);
    }
    for (uint32_t index = 0; index < count; ++index) dhcp6_relay_packet_process(&solicit(index).skp());
  }
  ~Relay() { exit_dhcp6_relay_cfg(); }
  Relay(const Relay&) = delete;
  Relay& operator=(const Relay&) = delete;
};

void run(benchmark::State& state, ReceivedFrame (*make)(uint32_t)) {
  const auto count = static_cast<uint32_t>(state.range(0));
  const Relay relay(count);
  std::vector<ReceivedFrame> frames;
  for (uint32_t index = 0; index < count; ++index) frames.push_back(make(index));
  take_turns(state, dhcp6_relay_packet_process, frames);
}

void relayed_request(benchmark::State& state) { run(state, solicit); }
void returned_reply(benchmark::State& state) { run(state, reply); }

void eleven_destinations(benchmark::State& state) {
  const Relay relay(1, DHCP6_RELAY_MAX_DESTINATIONS);
  ReceivedFrame frame = solicit(0);
  const uint64_t sent_before = null_device.frames_sent;
  for (auto _ : state) dhcp6_relay_packet_process(&frame.skp());
  const uint64_t sent = null_device.frames_sent - sent_before;
  const auto messages = static_cast<uint64_t>(state.iterations());
  if (sent != DHCP6_RELAY_MAX_DESTINATIONS * messages) state.SkipWithError("a destination was left out");
}

BENCHMARK(relayed_request)->Arg(1)->Arg(DHCP6_RELAY_CLIENTS);
BENCHMARK(returned_reply)->Arg(1)->Arg(DHCP6_RELAY_CLIENTS);
BENCHMARK(eleven_destinations);

}  // namespace

}  // namespace dhcp::bench

int main(int argc, char** argv) {
  using namespace dhcp::bench;
  return run_benchmarks(argc, argv, DHCP6_RELAY_CLIENTS, blocks_left<Relay>);
}
