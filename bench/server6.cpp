/// bench_server6: what one message costs the DHCPv6 server, by the number of bindings it holds.
///
/// Clients take turns, so each message is for the binding that has waited longest: the one farthest from the list's
/// head. Beside the times it prints cost(499) / cost(1) for each kind of message and the blocks taken per message.
#include <array>

#include "base/ip6.h"
#include "bench/client_frames.h"
#include "bench/harness.h"
#include "bench/null_device.h"
#include "dhcp/server6.h"
#include "packet/datagram6.h"
#include "packet/options6.h"

namespace dhcp::bench {

namespace {

using packet::MessageType6;
using packet::OptionWriter6;
namespace option6 = packet::option6;

constexpr uint32_t pool_id = 1, most = 499;

/// Of the pool, the index-th address.
base::Ip6 address(uint32_t index) {
  base::Ip6 ip{{0x20, 1, 0x0d, 0xb8, 0, 0x10}};
  packet::store_be32(&ip.bytes[12], 0x1000 + index);
  return ip;
}

/// What a client of the server sends: identifiers, and an IA_NA with `ip` when it names one.
size_t put_message(std::span<uint8_t> room, MessageType6 type, uint32_t client, const base::Ip6* ip) {
  OptionWriter6 options(room);
  room[packet::dhcp6::msg_type.offset] = static_cast<uint8_t>(type);
  packet::store_be24(&room[packet::dhcp6::transaction_id.offset], client);
  options.add(option6::client_id, packet::duid_ll(client_mac(client)));
  if (type != MessageType6::solicit) options.add(option6::server_id, dhcp6s_cfg.duid);
  if (ip != nullptr) {
    packet::add_ia6(options, option6::ia_na, client, 0, 0, {*ip, 0, 0});
  } else {
    options.add(option6::ia_na, std::array<uint8_t, 12>{});
  }
  return options.message_size();
}

ReceivedFrame message(MessageType6 type, uint32_t client, const base::Ip6* ip = nullptr, bool relayed = false) {
  std::array<uint8_t, packet::datagram6_room> frame{};
  const auto room = packet::datagram6_message(frame);
  size_t size = 0;
  if (relayed) {
    std::array<uint8_t, packet::datagram6_room> inner{};
    const size_t inner_size = put_message(inner, type, client, ip);
    room[packet::relay6::msg_type.offset] = static_cast<uint8_t>(MessageType6::relay_forward);
    address(0).copy_to(&room[packet::relay6::link.offset]);
    OptionWriter6 options(room, packet::relay6::header_size);
    options.add(option6::relay_message, std::span(inner).first(inner_size));
    size = options.message_size();
  } else {
    size = put_message(room, type, client, ip);
  }
  base::Ip6 source{{0xfe, 0x80}};
  packet::store_be32(&source.bytes[12], client);
  return ReceivedFrame(packet::finish_datagram6(frame, size,
                                                {.to_mac = packet::all_dhcp6_servers_mac,
                                                 .from_mac = client_mac(client),
                                                 .vlan = NullDevice::vlans[0],
                                                 .from = source,
                                                 .to = packet::all_dhcp6_servers,
                                                 .from_port = packet::udp::port_client6,
                                                 .to_port = packet::udp::port_server6}));
}

void hand_over(MessageType6 type, uint32_t client, const base::Ip6* ip = nullptr) {
  dhcp6_server_packet_process(&message(type, client, ip).skp());
}

/// The server with one pool and `count` clients that hold the pool's first addresses.
class Server {
 public:
  explicit Server(uint32_t count) {
    init_DHCP6S_cfg();
    dhcp6_server_start_stop(1);
    dhcp6_server_create_pool_entry(pool_id);
    dhcp6_server_set_pool_network(pool_id, address(0).bytes.data(), nullptr, 64);
    const uint8_t dns[1][16] = {};
    dhcp6_server_set_dns_srv(pool_id, dns, 1);
    dhcp6_server_set_domain_name(pool_id, "example.net");
    for (uint32_t client = 0; client < count; ++client) {
      hand_over(MessageType6::solicit, client);
      const base::Ip6 ip = address(client);
      hand_over(MessageType6::request, client, &ip);
    }
  }
  ~Server() { init_DHCP6S_cfg(); }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
};

void run(benchmark::State& state, MessageType6 type, bool names_address, bool relayed = false) {
  const auto count = static_cast<uint32_t>(state.range(0));
  const Server server(count);
  std::vector<ReceivedFrame> frames;
  for (uint32_t client = 0; client < count; ++client) {
    const base::Ip6 ip = address(client);
    frames.push_back(message(type, client, names_address ? &ip : nullptr, relayed));
  }
  take_turns(state, dhcp6_server_packet_process, frames);
}

/// A client that holds a lease looks for a server again: the old binding goes, a new one comes.
void solicit(benchmark::State& state) { run(state, MessageType6::solicit, false); }
void request(benchmark::State& state) { run(state, MessageType6::request, true); }
void renew_relayed(benchmark::State& state) { run(state, MessageType6::renew, true, true); }

/// A client never seen before gets the lowest free address, behind all those taken, and gives it back.
void solicit_new_and_release(benchmark::State& state) {
  const auto count = static_cast<uint32_t>(state.range(0));
  const Server server(count);
  const base::Ip6 ip = address(count);
  ReceivedFrame first = message(MessageType6::solicit, count), last = message(MessageType6::release, count, &ip);
  for (auto _ : state) {
    dhcp6_server_packet_process(&first.skp());
    dhcp6_server_packet_process(&last.skp());
  }
  if (dhcp6s_cfg.bindings.count != static_cast<int32_t>(count)) state.SkipWithError("the address was not given back");
}

BENCHMARK(solicit)->Arg(1)->Arg(100)->Arg(most);
BENCHMARK(request)->Arg(1)->Arg(100)->Arg(most);
BENCHMARK(renew_relayed)->Arg(1)->Arg(100)->Arg(most);
BENCHMARK(solicit_new_and_release)->Arg(1)->Arg(100)->Arg(most);

}  // namespace

}  // namespace dhcp::bench

int main(int argc, char** argv) {
  using namespace dhcp::bench;
  return run_benchmarks(argc, argv, most, blocks_left<Server>);
}
