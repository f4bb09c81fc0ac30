#include "tests/unit/server6_bench.h"

#include "base/list.h"
#include "server6/counters.h"

namespace bench {

using wire::operator+;
using wire::option6;

namespace {

void expect_at_rest(const char* name, const DhcpServerList& list) {
  EXPECT_EQ(list.count, 0) << name;
  EXPECT_TRUE(dhcp::base::list_empty(list.head)) << name;
  EXPECT_EQ(list.busy.load(), 0u) << name;
}

void append(std::string& text, const std::string& word) { text += (text.empty() ? "" : " ") + word; }

/// The address in an IA's value, or "none" for NoAddrsAvail alone.
std::string ia_text(const Bytes& ia, size_t fixed) {
  if (Bytes(ia.begin() + static_cast<std::ptrdiff_t>(fixed), ia.end()) == Bytes{0, 13, 0, 2, 0, 3}) return "none";
  EXPECT_EQ(ia.size(), fixed + 28);
  return text_of(&ia[fixed + 4]);
}

}  // namespace

std::string text_of(const uint8_t* address) {
  char text[INET6_ADDRSTRLEN];
  return inet_ntop(AF_INET6, address, text, sizeof text);
}

void Server6Bench::SetUp() {
  DeviceBench::SetUp();
  at(0);
  device().vlan_interfaces[10] = {.ip6 = "2001:db8:1::1", .prefix6 = 64};
  for (uint32_t client = 0; client < 16; ++client) device().mac_table[{mac_number(client), 10}] = 3;
  init_DHCP6S_cfg();
  EXPECT_EQ(dhcp6_server_start_stop(1), 0);
}

void Server6Bench::TearDown() {
  fake::fail_allocations(0);
  EXPECT_EQ(dhcp6s_cfg.pools.busy.load() + dhcp6s_cfg.bindings.busy.load() + dhcp6s_cfg.conflicts.busy.load(), 0u);
  init_DHCP6S_cfg();
  expect_at_rest("pools", dhcp6s_cfg.pools);
  expect_at_rest("bindings", dhcp6s_cfg.bindings);
  expect_at_rest("conflicts", dhcp6s_cfg.conflicts);
  EXPECT_TRUE(device().rules().empty());
  EXPECT_EQ(device().take_sent().size(), 0u);
}

void Server6Bench::make_pool(uint32_t id, const char* start, int prefix_len, const char* end) {
  ASSERT_EQ(dhcp6_server_create_pool_entry(id), 0);
  ASSERT_EQ(dhcp6_server_set_pool_network(id, ip6(start).data(), ip6(end).data(), prefix_len), 0);
}

Bytes Server6Bench::client_id(uint32_t client) {
  const Mac mac = mac_number(client);
  return Bytes{0, 3, 0, 1} + Bytes(mac.begin(), mac.end());
}

Bytes Server6Bench::server_id() { return {std::begin(dhcp6s_cfg.duid), std::end(dhcp6s_cfg.duid)}; }

Bytes Server6Bench::options(const Ask6& ask) {
  const Bytes address = ask.address != nullptr ? wire::ia_address(ip6(ask.address), 1, 2) : Bytes{};
  Bytes all = option6(1, client_id(ask.client));
  if (ask.names_server) all = all + option6(2, server_id());
  if (ask.ia == 3) all = all + wire::ia_na(0x01020304, address, 5, 6);
  if (ask.ia == 4) all = all + wire::ia_ta(0x01020304, address);
  return all + ask.more;
}

wire::Message6 Server6Bench::message(const Ask6& ask) { return {ask.type, mac_number(ask.client), options(ask)}; }

std::optional<wire::Reply6> Server6Bench::answer(const Bytes& frame) {
  wire::Received received(frame);
  counted_once(dhcp::server6::frame_counts.view(), received.skp()->in_intf,
               [&] { return dhcp6_server_packet_process(received.skp()); });
  EXPECT_EQ(received.bytes(), frame) << "the received frame was written to";
  const auto sent = device().take_sent();
  EXPECT_LE(sent.size(), 1u);
  if (sent.empty()) return std::nullopt;
  EXPECT_EQ(sent[0].ports, std::vector<uint32_t>{3});
  wire::Reply6 reply(sent[0].bytes);
  EXPECT_EQ(reply.faults, "");
  return reply;
}

std::string Server6Bench::answer_text(const Bytes& frame) {
  const auto reply = answer(frame);
  if (!reply) return "";
  std::string text = reply->type == wire::ADVERTISE6 ? "ADVERTISE" : "REPLY";
  EXPECT_TRUE(reply->type == wire::ADVERTISE6 || reply->type == wire::REPLY6) << reply->type;
  for (const auto& [code, value] : reply->options) {
    if (code == 3) append(text, ia_text(value, 12));
    if (code == 4) append(text, ia_text(value, 4));
    if (code == 13) append(text, "status " + std::to_string(wire::number_at(value, 0, 2)));
  }
  return text;
}

std::string Server6Bench::lease(uint32_t client, const char* address) {
  const std::string offer = told({.type = wire::SOLICIT6, .address = address, .client = client});
  if (offer.empty()) return "";
  const std::string offered = offer.substr(offer.find(' ') + 1);
  told({.type = wire::REQUEST6, .address = offered.c_str(), .names_server = true, .client = client});
  return offered;
}

std::string Server6Bench::verdicts() {
  Dhcp6ServerCounters counters;
  dhcp6_server_get_counters(&counters);
  dhcp6_server_clear_counters();
  std::string text;
  for (int verdict = 0; verdict < DHCP6S_VERDICTS; ++verdict) {
    uint32_t sum = 0;
    for (const uint32_t count : counters.count[verdict]) sum += count;
    if (sum > 0) append(text, dhcp6_server_verdict_name(verdict));
  }
  return text;
}

std::vector<Dhcp6Binding> Server6Bench::bindings() {
  std::vector<Dhcp6Binding> all(DHCP6S_MAX_BINDINGS);
  all.resize(static_cast<size_t>(dhcp6_server_get_bindings(all.data(), DHCP6S_MAX_BINDINGS)));
  return all;
}

std::string Server6Bench::bound() {
  std::string text;
  for (const Dhcp6Binding& binding : bindings()) {
    const std::string address = text_of(binding.ip6);
    append(text, binding.state == DHCP6S_BOUND ? address : "(" + address + ")");
  }
  return text;
}

std::string Server6Bench::conflicts() {
  std::vector<Dhcp6ConflictIp> all(DHCP6S_MAX_CONFLICTS);
  all.resize(static_cast<size_t>(dhcp6_server_get_conflicts(all.data(), DHCP6S_MAX_CONFLICTS)));
  std::string text;
  for (const Dhcp6ConflictIp& conflict : all) append(text, text_of(conflict.ip6));
  return text;
}

}  // namespace bench
