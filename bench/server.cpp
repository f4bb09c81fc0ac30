/// bench_server: what one message costs the server, by the number of bindings it holds.
///
/// Clients take turns, so each message is for the binding that has waited longest: the one farthest from the list's
/// head. Beside the times it prints cost(499)/cost(1) for each kind of message and the blocks taken per message, and
/// it ends with status 1 when a message at 499 bindings costs more than 1.5 times that at 1, or when a heap block, a
/// record or a busy word is left.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "base/os.h"
#include "bench/client_frames.h"
#include "bench/harness.h"
#include "bench/null_device.h"
#include "dhcp/packet.h"
#include "dhcp/server.h"

namespace dhcp::bench {

namespace {

constexpr uint32_t pool_id = 1, network = 0x0a0a0000, netmask = 0xffff0000, first_ip = 0x0a0a000a;
constexpr uint32_t last_ip = first_ip + 999;

/// A client whose frames lie ready.
struct Client {
  explicit Client(uint32_t index) : frames(client_mac(index)), xid(index) {}

  static ReceivedFrame tagged(std::span<const uint8_t> untagged) {
    return tagged_frame(untagged, NullDevice::vlans[0]);
  }
  ReceivedFrame discover() { return tagged(frames.discover(xid)); }
  ReceivedFrame request(uint32_t ip) { return tagged(frames.request(xid, lease(ip))); }
  ReceivedFrame release(uint32_t ip) { return tagged(frames.release(xid, lease(ip))); }
  static Answer lease(uint32_t ip) { return {0, 0, ip, NullDevice::vlan_ips[0], {}}; }

  ClientFrames frames;
  uint32_t xid;
};

/// The server with one pool and `count` clients that hold the pool's first addresses.
class Server {
 public:
  explicit Server(uint32_t count) {
    init_DHCPS_cfg();
    dhcp_server_create_pool_entry(pool_id);
    dhcp_server_set_pool_network(pool_id, network, netmask, first_ip, last_ip);
    const uint32_t router = NullDevice::vlan_ips[0];
    dhcp_server_set_router(pool_id, &router, 1);
    dhcp_server_set_dns_srv(pool_id, &router, 1);
    dhcp_server_set_domain_name(pool_id, "example.net");
    for (uint32_t index = 0; index < count; ++index) {
      Client client(index);
      dhcp_server_packet_process(&client.discover().skp());
      dhcp_server_packet_process(&client.request(first_ip + index).skp());
    }
  }
  ~Server() { init_DHCPS_cfg(); }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
};

/// A client that holds a lease looks for a server again: the old binding goes, a new one comes.
void discover(benchmark::State& state) {
  const auto count = static_cast<uint32_t>(state.range(0));
  const Server server(count);
  std::vector<ReceivedFrame> messages;
  for (uint32_t index = 0; index < count; ++index) messages.push_back(Client(index).discover());
  take_turns(state, dhcp_server_packet_process, messages);
}

void request(benchmark::State& state) {
  const auto count = static_cast<uint32_t>(state.range(0));
  const Server server(count);
  std::vector<ReceivedFrame> messages;
  for (uint32_t index = 0; index < count; ++index) messages.push_back(Client(index).request(first_ip + index));
  take_turns(state, dhcp_server_packet_process, messages);
}

/// A client never seen before gets the lowest free address, behind all those taken, and gives it back.
void discover_new_and_release(benchmark::State& state) {
  const auto count = static_cast<uint32_t>(state.range(0));
  const Server server(count);
  Client newcomer(count);
  ReceivedFrame first = newcomer.discover(), last = newcomer.release(0);
  for (auto _ : state) {
    dhcp_server_packet_process(&first.skp());
    packet::store_be32(last.skp().ud_hdr + packet::udp::header_size + packet::dhcp4::ciaddr.offset, first_ip + count);
    dhcp_server_packet_process(&last.skp());
  }
  if (dhcps_cfg.bindings.count != static_cast<int32_t>(count)) state.SkipWithError("the address was not given back");
}

base::Os system_calls;

/// What the kernel takes to say an interface's address and MAC; one message needs it once.
void interface_query(benchmark::State& state) {
  const base::Os null_calls = base::os;
  base::os = system_calls;
  sockets_are_free = false;
  uint32_t ip = 0;
  uint8_t mac[6];
  for (auto _ : state) benchmark::DoNotOptimize(get_nic_address("lo", &ip, mac));
  sockets_are_free = true;
  base::os = null_calls;
}

/// The records and busy words of a server that has gone count, too.
int64_t left(uint32_t most) {
  const int64_t blocks = blocks_left<Server>(most);
  const auto idle = [](const DhcpServerList& list) { return list.count == 0 && list.busy == 0; };
  const bool lists_idle = idle(dhcps_cfg.pools) && idle(dhcps_cfg.bindings) && idle(dhcps_cfg.conflicts) &&
                          idle(dhcps_cfg.excludes) && dhcps_cfg.port_users == 0;
  printf("%s\n", lists_idle ? "no record, no busy word" : "records or busy words are left behind");
  return lists_idle ? blocks : std::max<int64_t>(blocks, 1);
}

BENCHMARK(discover)->Arg(1)->Arg(100)->Arg(499);
BENCHMARK(request)->Arg(1)->Arg(100)->Arg(499);
BENCHMARK(discover_new_and_release)->Arg(1)->Arg(100)->Arg(499);
BENCHMARK(interface_query);

}  // namespace

}  // namespace dhcp::bench

int main(int argc, char** argv) {
  using namespace dhcp::bench;
  system_calls = dhcp::base::os;
  sockets_are_free = true;
  return run_benchmarks(argc, argv, 499, left);
}
