#include "tests/unit/bench.h"

#include <semaphore.h>

#include <fstream>
#include <sstream>

#include "server/counters.h"

extern "C" sem_t dhcp_server_sem;

namespace bench {

namespace {

void expect_at_rest(const char* name, const DhcpServerList& list) {
  EXPECT_EQ(list.count, 0) << name;
  EXPECT_TRUE(dhcp::base::list_empty(list.head)) << name;
  EXPECT_EQ(list.busy.load(), 0u) << name;
}

/// Counts the links of a bucket and looks whether each points back.
int links(const DhcpListHead& head) {
  int count = 0;
  for (const DhcpListHead* at = head.next; at != &head; at = at->next) {
    EXPECT_EQ(at->next->prev, at);
    EXPECT_EQ(at->prev->next, at);
    if (++count > 1000) ADD_FAILURE() << "a list without an end";
    if (count > 1000) break;
  }
  return count;
}

template <class T>
void expect_named(const char* name, const std::optional<T>& expected, const T& seen) {
  if (expected) {
    EXPECT_EQ(*expected, seen) << name;
  }
}

}  // namespace

void expect_index_at_rest(const DhcpSnoopIndex& index, bool counts) {
  for (int bucket = 0; bucket < DHCP_SNOOP_BUCKETS; ++bucket) {
    EXPECT_EQ(index.busy[bucket].load(), 0u);
    const int linked = links(index.head[bucket]);
    EXPECT_TRUE(!counts || linked == index.count[bucket]) << "bucket " << bucket;
  }
}

std::string read_file(const std::string& path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

void write_file(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

std::string DeviceBench::shown(int (*show)(char*, int, int), int a) {
  char path[128] = "";
  const int result = show(path, a, 7);
  EXPECT_EQ(result, static_cast<int>(strlen(path)) + 1);
  EXPECT_EQ(path, device().temp_directory() + "/0_" + std::to_string(a) + "_7") << "a and b are passed on";
  return read_file(path);
}

std::string DeviceBench::saved(int (*save)(FILE*)) {
  char* text = nullptr;
  size_t size = 0;
  FILE* stream = open_memstream(&text, &size);
  EXPECT_EQ(save(stream), 0);
  fclose(stream);
  const std::string copy(text, size);
  free(text);
  return copy;
}

void ServerBench::SetUp() {
  DeviceBench::SetUp();
  at(0);
  device().vlan_interfaces[10] = {own_ip, own_mac};
  init_DHCPS_cfg();
}

void ServerBench::TearDown() {
  fake::fail_allocations(0);
  while (!dhcp::base::list_empty(dhcps_cfg.pools.head)) {
    const uint32_t id = (*Records<DhcpPool>(dhcps_cfg.pools.head).begin()).pool_id;
    ASSERT_EQ(dhcp_server_del_pool_entry(id), 0);
  }
  EXPECT_EQ(dhcps_cfg.bindings.count, 0) << "a pool takes its leases along";
  dhcp_server_clear_conflict(0);
  for (const DhcpExcludeRange& range : Records<DhcpExcludeRange>(dhcps_cfg.excludes.head)) {
    dhcp_server_del_exclude_ip(range.start_ip, range.end_ip);
  }
  expect_at_rest("pools", dhcps_cfg.pools);
  expect_at_rest("bindings", dhcps_cfg.bindings);
  expect_at_rest("conflicts", dhcps_cfg.conflicts);
  expect_at_rest("excludes", dhcps_cfg.excludes);
  EXPECT_EQ(dhcps_cfg.port_users.load(), 0u);
  int lock = 0;
  sem_getvalue(&dhcp_server_sem, &lock);
  EXPECT_EQ(lock, 1) << "server lock";
  expect_silence();
}

void ServerBench::make_pool(uint32_t id, uint32_t first, uint32_t last, uint32_t network, uint32_t mask) {
  ASSERT_EQ(dhcp_server_create_pool_entry(id), 0);
  ASSERT_EQ(dhcp_server_set_pool_network(id, network, mask, first, last), 0);
}

int ServerBench::receive(const Bytes& frame) {
  wire::Received received(frame);
  const int result = counted_once(dhcp::server::frame_counts.view(), received.skp()->in_intf,
                                  [&] { return dhcp_server_packet_process(received.skp()); });
  EXPECT_EQ(received.bytes(), frame) << "the received frame was written to";
  return result;
}

int ServerBench::receive(const wire::Message& message) { return receive(message.frame()); }

std::optional<wire::Reply> ServerBench::reply() {
  const auto sent = device().take_sent();
  EXPECT_LE(sent.size(), 1u);
  if (sent.empty()) return std::nullopt;
  wire::Reply reply(sent[0]);
  EXPECT_EQ(reply.faults, "");
  return reply;
}

void ServerBench::expect_reply(const Expected& expected) {
  const auto seen = reply();
  ASSERT_TRUE(seen) << "no reply";
  expect_named("type", expected.type, seen->type);
  expect_named("yiaddr", expected.yiaddr, seen->yiaddr);
  expect_named("ciaddr", expected.ciaddr, seen->ciaddr);
  expect_named("giaddr", expected.giaddr, seen->giaddr);
  expect_named("to_ip", expected.to_ip, seen->to_ip);
  expect_named("from_ip", expected.from_ip, seen->from_ip);
  expect_named("xid", expected.xid, seen->xid);
  expect_named("flags", expected.flags, seen->flags);
  expect_named("vlan", expected.vlan, seen->vlan);
  expect_named("to_mac", expected.to_mac, seen->to_mac);
  expect_named("from_mac", expected.from_mac, seen->from_mac);
  expect_named("mode", expected.mode, seen->sent.mode);
  expect_named("ports", expected.ports, seen->sent.ports);
  expect_named("option codes", expected.codes, seen->codes());
}

uint32_t ServerBench::offered(const wire::Message& message) {
  receive(message);
  const auto offer = reply();
  return offer && offer->type == wire::OFFER ? offer->yiaddr : 0;
}

uint32_t ServerBench::lease(const Mac& client) {
  receive(request(client, offered(discover(client))));
  const auto ack = reply();
  return ack && ack->type == wire::ACK ? ack->yiaddr : 0;
}

void ServerBench::age() {
  dhcps_binding_expire_timeout();
  dhcps_conflict_expire_timeout();
}

std::vector<Lease> ServerBench::leases() {
  std::vector<Lease> found;
  for (const DhcpBinding& b : Records<DhcpBinding>(dhcps_cfg.bindings.head)) {
    found.push_back({b.ip, b.pool_id, b.state, b.expire});
  }
  EXPECT_EQ(static_cast<size_t>(dhcps_cfg.bindings.count), found.size());
  return found;
}

wire::Message discover(const Mac& client) { return {wire::DISCOVER, client}; }

wire::Message request(const Mac& client, uint32_t address) {
  return wire::Message(wire::REQUEST, client).ip_option(54, ip(192, 168, 1, 1)).ip_option(50, address);
}

wire::Message renewal(const Mac& client, uint32_t address) {
  return wire::Message(wire::REQUEST, client).ciaddr(address);
}

std::vector<uint32_t> ips_of(const DhcpListHead& head) {
  std::vector<uint32_t> ips;
  for (const DhcpIpNode& node : Records<DhcpIpNode>(head)) ips.push_back(node.ip);
  return ips;
}

}  // namespace bench
