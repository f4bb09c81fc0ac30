/// What the guards let through: every kind of lie, and what an honest host must be able to do.
#include "softswitch/guard.h"

#include <gmock/gmock.h>

#include <chrono>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <tuple>

#include "softswitch/event_queue.h"
#include "softswitch/fabric.h"
#include "softswitch/follow_bindings.h"
#include "tests/softswitch/frames.h"

namespace dhcp::softswitch::test {
namespace {

using Mac = std::array<uint8_t, 6>;
constexpr Mac alice = {0x02, 0, 0, 0, 0, 0x0a}, bob = {0x02, 0, 0, 0, 0, 0x0b};
constexpr uint32_t address = 0xc0a80a09, other_address = 0xc0a80a0a;
constexpr uint32_t port = 3, other_port = 4;
constexpr uint16_t vlan = 10, other_vlan = 20;

KnownHost host(const Mac& mac, uint32_t ip, uint16_t in_vlan = 0, uint32_t intf = port) {
  return {intf, ip, in_vlan, mac};
}

/// From the EtherType on.
Bytes ip_from(uint32_t source) {
  Bytes frame = ip4(false, protocol_udp, 5000, 4);
  store_be32(&frame[26], source);
  return {frame.begin() + 12, frame.end()};
}

Bytes arp(int operation, const Mac& sender, uint32_t ip) {
  Bytes body;
  append(body, {8, 6, 0, 1, 8, 0, 6, 4, 0, operation});
  body.insert(body.end(), sender.begin(), sender.end());
  body.resize(body.size() + 4 + 6 + 4);
  store_be32(&body[16], ip);
  return body;
}

struct GuardTest : testing::Test {
  Guard guard;

  /// "passed", "dropped: <reason>", or "not judged": outcome and counter must agree.
  std::string judge(GuardKind kind, uint32_t on_port, uint16_t in_vlan, const Mac& source, const Bytes& body,
                    std::optional<uint16_t> udp_to = {}) {
    Bytes frame(12);
    frame.insert(frame.end(), body.begin(), body.end());
    FrameMap map = map_frame(frame);
    if (udp_to) map.udp_to = *udp_to;
    const GuardCounters::Counts before = guard.counters(on_port).of(kind);
    const bool passed = guard.admits(on_port, in_vlan, source.data(), body, map);
    const GuardCounters::Counts& after = guard.counters(on_port).of(kind);
    if (after.passed != before.passed) return passed ? "passed" : "counted as passed, but dropped";
    static const char* const names[] = {"malformed", "unknown", "other mac", "other vlan", "other sender"};
    for (size_t i = 0; i < guard_drops; ++i)
      if (after.dropped[i] != before.dropped[i])
        return passed ? "counted as dropped, but passed" : std::string("dropped: ") + names[i];
    return passed ? "not judged" : "dropped without a reason";
  }
};

TEST_F(GuardTest, SourceGuardWantsAddressMacVlanAndPortOfOneEntry) {
  guard.hosts(HostList::source_guard).put(host(alice, address, vlan));
  guard.hosts(HostList::source_guard).put(host(bob, address, other_vlan));
  guard.hosts(HostList::source_guard).put(host(bob, other_address, vlan, other_port));
  guard.set_source_guard(port, true);
  const Bytes runt = {0x08, 0x00, 0x45, 0, 0, 20};
  Bytes not_ip = ip_from(address);
  not_ip[2] = 0x55;
  const struct {
    const char* what;
    uint32_t port;
    uint16_t vlan;
    Mac source;
    Bytes body;
    uint16_t udp_to;
    const char* outcome;
  } rows[] = {
      {"the host itself", port, vlan, alice, ip_from(address), 5000, "passed"},
      {"the other VLAN's host with the same address", port, other_vlan, bob, ip_from(address), 5000, "passed"},
      {"somebody else's MAC", port, vlan, {2, 0, 0, 0, 0, 9}, ip_from(address), 5000, "dropped: other mac"},
      {"each in the other's VLAN", port, vlan, bob, ip_from(address), 5000, "dropped: other vlan"},
      {"and the other way round", port, other_vlan, alice, ip_from(address), 5000, "dropped: other vlan"},
      {"an address nobody has", port, vlan, alice, ip_from(0x0a000001), 5000, "dropped: unknown"},
      {"an address of another port", port, vlan, bob, ip_from(other_address), 5000, "dropped: unknown"},
      {"a client that asks for an address", port, vlan, {2, 0, 0, 0, 0, 9}, ip_from(0), 67, "passed"},
      {"no address, but no request either", port, vlan, alice, ip_from(0), 5000, "dropped: unknown"},
      {"no address, posing as a server", port, vlan, alice, ip_from(0), 68, "dropped: unknown"},
      {"a request from a false address", port, vlan, bob, ip_from(0x0a000001), 67, "dropped: unknown"},
      {"a header cut short", port, vlan, alice, runt, 0, "dropped: malformed"},
      {"not IPv4 under its type", port, vlan, alice, not_ip, 0, "dropped: malformed"},
      {"ARP", port, vlan, bob, arp(1, alice, address), 0, "not judged"},
      {"IPv6", port, vlan, bob, {0x86, 0xdd, 0x60}, 0, "not judged"},
      {"no type at all", port, vlan, bob, {}, 0, "not judged"},
      {"a port without guard", other_port, vlan, alice, ip_from(address), 5000, "not judged"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(judge(GuardKind::source, row.port, row.vlan, row.source, row.body, row.udp_to), row.outcome) << row.what;
}

using Ip6 = std::array<uint8_t, 16>;
constexpr Ip6 global = {0x20, 0x01, 0x0d, 0xb8, 0, 10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9};
constexpr Ip6 global_a = {0x20, 0x01, 0x0d, 0xb8, 0, 10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 10};
constexpr Ip6 link_local = {0xfe, 0xbf, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, site_local = {0xfe, 0xc0, 1};
constexpr Ip6 unspecified{};

KnownHost6 host6(const Mac& mac, const Ip6& ip6, uint16_t in_vlan = vlan, uint32_t intf = port) {
  return {intf, in_vlan, mac, ip6, 600};
}

/// From the EtherType on; `to` = UDP port, or ICMPv6 type.
Bytes ip6_from(const Ip6& source, uint8_t protocol, uint16_t to, std::vector<uint8_t> chain = {}) {
  Bytes frame = ip6(false, protocol, to, 4, chain);
  std::copy(source.begin(), source.end(), &frame[22]);
  if (protocol == protocol_icmp6) frame[54 + chain.size() * 8] = static_cast<uint8_t>(to);
  return {frame.begin() + 12, frame.end()};
}

TEST_F(GuardTest, SourceGuardForIpv6LeavesAHostWhatItTakesToGetAnAddress) {
  std::vector<KnownHost6> hosts = {host6(bob, global, other_vlan), host6(bob, global_a, vlan, other_port),
                                   host6(alice, global), host6(bob, global, vlan, port - 1)};
  BoundHosts::sort(hosts);
  guard.hosts6().replace(hosts);
  guard.set_source_guard6(port, true);
  const Mac stranger = {2, 0, 0, 0, 0, 9};
  const Bytes whole = ip6_from(global, protocol_udp, 5000), cut(whole.begin(), whole.begin() + 41);
  Bytes not_ip6 = whole;
  not_ip6[2] = 0x45;
  const uint8_t icmp = protocol_icmp6, udp = protocol_udp, hop_by_hop = 0, fragment = 44;
  const struct {
    const char* what;
    uint16_t vlan;
    Mac source;
    Bytes body;
    const char* outcome;
  } rows[] = {
      {"the host itself", vlan, alice, whole, "passed"},
      {"the other VLAN's host with the same address", other_vlan, bob, whole, "passed"},
      {"somebody else's MAC", vlan, stranger, whole, "dropped: other mac"},
      {"each in the other's VLAN", vlan, bob, whole, "dropped: other vlan"},
      {"an address of another port", vlan, bob, ip6_from(global_a, udp, 5000), "dropped: unknown"},
      {"a neighbour's advertisement from a false address", vlan, alice, ip6_from(global_a, icmp, 136),
       "dropped: unknown"},
      {"DHCPv6 from a false address", vlan, bob, ip6_from(global_a, udp, 547), "dropped: unknown"},
      {"a try of an address", vlan, stranger, ip6_from(unspecified, icmp, 135), "passed"},
      {"a group joined behind an option", vlan, stranger, ip6_from(unspecified, icmp, 143, {hop_by_hop}), "passed"},
      {"an advertisement of nobody", vlan, stranger, ip6_from(unspecified, icmp, 136), "dropped: unknown"},
      {"data of nobody", vlan, alice, ip6_from(unspecified, udp, 5000), "dropped: unknown"},
      {"link-local: an advertisement", vlan, stranger, ip6_from(link_local, icmp, 136), "passed"},
      {"link-local: a client's message", vlan, stranger, ip6_from(link_local, udp, 547), "passed"},
      {"link-local: posing as a server", vlan, stranger, ip6_from(link_local, udp, 546), "dropped: unknown"},
      {"link-local: posing as a router", vlan, stranger, ip6_from(link_local, icmp, 134), "dropped: unknown"},
      {"link-local: an echo", vlan, stranger, ip6_from(link_local, icmp, 128), "dropped: unknown"},
      {"link-local: a first piece", vlan, stranger, ip6_from(link_local, icmp, 135, {fragment}), "passed"},
      {"link-local: anything of a bound host", vlan, alice, ip6_from(link_local, udp, 5000), "passed"},
      {"but not in another VLAN", other_vlan, alice, ip6_from(link_local, udp, 5000), "dropped: unknown"},
      {"next to link-local", vlan, alice, ip6_from(site_local, icmp, 135), "dropped: unknown"},
      {"a header cut short", vlan, alice, cut, "dropped: malformed"},
      {"not IPv6 under its type", vlan, alice, not_ip6, "dropped: malformed"},
      {"IPv4", vlan, stranger, ip_from(address), "not judged"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(judge(GuardKind::source6, port, row.vlan, row.source, row.body), row.outcome) << row.what;
  EXPECT_EQ(judge(GuardKind::source6, other_port, vlan, stranger, whole), "not judged");
}

std::vector<KnownHost6> bound_now;
std::vector<KnownHost6> tell_bound() { return bound_now; }

TEST(FollowBindings, AsksAgainBeforeTheFrameBehindAServersMessageAndNotForClients) {
  const auto hosts = [] { return fabric().with([](FabricState& s) { return s.guard.hosts6().rows().size(); }); };
  const auto guarded = [](bool on) { fabric().with([=](FabricState& s) { s.guard.set_source_guard6(port, on); }); };
  const auto handle = [](uint16_t to) {
    Bytes frame = ip6(true, protocol_udp, to, 4);
    skpack pack{};
    pack.data = frame.data();
    pack.psize = static_cast<uint32_t>(frame.size());
    DhcpEvent event{};
    event.type = event_ipv6;
    event.data = &pack;
    note_taken(event);
    bound_now.push_back(host6(alice, global));
    note_handled();
  };
  {
    const FollowBindings follow(tell_bound, std::chrono::hours(1));
    handle(546);
    EXPECT_EQ(hosts(), 0u) << "nobody is guarded";
    guarded(true);
    handle(547);
    EXPECT_EQ(hosts(), 0u);
    handle(546);
    EXPECT_EQ(hosts(), 3u);
    bound_now.clear();
    note_handled();
    EXPECT_EQ(hosts(), 3u) << "once a message";
    take_bound_hosts();
    EXPECT_EQ(hosts(), 0u);
    handle(546);
  }
  take_bound_hosts();
  EXPECT_EQ(hosts(), 0u) << "nobody to ask";
  guarded(false);
}

TEST_F(GuardTest, ArpMustBeSentByTheHostThatItNames) {
  guard.set_arp_check(port, true);
  guard.hosts(HostList::arp_check).put(host(alice, address));
  guard.hosts(HostList::fixed_arp).put(host(bob, other_address));
  Bytes cut = arp(1, alice, address), token_ring = arp(1, alice, address);
  cut.pop_back();
  token_ring[3] = 6;
  const struct {
    const char* what;
    Mac source;
    Bytes body;
    const char* outcome;
  } rows[] = {
      {"a question", alice, arp(1, alice, address), "passed"},
      {"an answer", alice, arp(2, alice, address), "passed"},
      {"a fixed entry vouches as well", bob, arp(2, bob, other_address), "passed"},
      {"a probe for an address", bob, arp(1, bob, 0), "passed"},
      {"an answer for no address", bob, arp(2, bob, 0), "dropped: unknown"},
      {"the address of another host", bob, arp(2, bob, address), "dropped: other mac"},
      {"the address of a fixed entry", alice, arp(2, alice, other_address), "dropped: other mac"},
      {"an address nobody has", alice, arp(2, alice, 0x0a000001), "dropped: unknown"},
      {"in another host's name", bob, arp(2, alice, address), "dropped: other sender"},
      {"a probe in another host's name", bob, arp(1, alice, 0), "dropped: other sender"},
      {"cut short", alice, cut, "dropped: malformed"},
      {"of another network", alice, token_ring, "dropped: malformed"},
      {"IPv4", bob, ip_from(address), "not judged"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(judge(GuardKind::arp, port, vlan, row.source, row.body), row.outcome) << row.what;
}

TEST_F(GuardTest, ASwitchedOnGuardKnowsWhatWasToldBeforeAndForgetsWithTheArpCheck) {
  guard.hosts(HostList::source_guard).put(host(alice, address, vlan));
  EXPECT_EQ(judge(GuardKind::source, port, vlan, bob, ip_from(address)), "not judged");
  guard.set_source_guard(port, true);
  EXPECT_EQ(judge(GuardKind::source, port, vlan, alice, ip_from(address)), "passed");
  guard.set_source_guard(port, false);
  EXPECT_EQ(judge(GuardKind::source, port, vlan, bob, ip_from(address)), "not judged");
  guard.set_source_guard(port, true);
  EXPECT_EQ(judge(GuardKind::source, port, vlan, bob, ip_from(address)), "dropped: other mac");

  HostTable& list = guard.hosts(HostList::arp_check);
  list.put(host(alice, address));
  list.put(host(bob, address, 0, other_port));
  guard.set_arp_check(port, false);
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list.rows()[0].intf, other_port);

  guard.clear_counters(GuardKind::arp);
  EXPECT_EQ(guard.counters(port).of(GuardKind::source).passed, 1u) << "the other guard's counters stay";
  guard.clear_counters(GuardKind::source);
  EXPECT_EQ(guard.counters(port).of(GuardKind::source).passed, 0u);
}

TEST(HostTable, IsFullAtItsCapacityAndUsableAfterwards) {
  HostTable table;
  for (uint32_t n = 0; n < HostTable::capacity; ++n) ASSERT_TRUE(table.put(host(alice, n, vlan))) << n;
  EXPECT_FALSE(table.put(host(alice, HostTable::capacity, vlan)));
  EXPECT_TRUE(table.put(host(bob, 7, vlan))) << "a change takes no room";
  ASSERT_TRUE(table.remove(host(alice, 9, vlan)));
  EXPECT_TRUE(table.put(host(alice, HostTable::capacity, vlan)));

  table.clear();
  EXPECT_TRUE(table.rows().empty());
  EXPECT_EQ(table.first(port, 7), nullptr);
  for (uint32_t n = 0; n < HostTable::capacity; ++n) ASSERT_TRUE(table.put(host(bob, n, vlan))) << n;
  EXPECT_EQ(table.rows().size(), HostTable::capacity);
}

TEST(HostTable, UnderRandomUseAgreesWithAPlainMap) {
  HostTable table;
  std::map<std::tuple<uint32_t, uint16_t, uint32_t>, Mac> plain;
  std::mt19937 engine(5);
  const auto random = [&](uint32_t below) { return static_cast<uint32_t>(engine()) % below; };
  for (int step = 0; step < 50000; ++step) {
    const KnownHost one = host(random(2) == 0 ? alice : bob, random(40), static_cast<uint16_t>(random(3)), random(4));
    const std::tuple key(one.intf, one.vlan, one.ip);
    const auto at = plain.find(key);
    if (random(500) == 0) {
      table.remove_interface(one.intf);
      std::erase_if(plain, [&](const auto& row) { return std::get<0>(row.first) == one.intf; });
    } else if (random(2) == 0) {
      ASSERT_TRUE(table.put(one));
      plain[key] = one.mac;
    } else {
      const bool there = at != plain.end() && at->second == one.mac;
      ASSERT_EQ(table.remove(one), there) << step;
      if (there) plain.erase(at);
    }
    size_t same = 0;
    for (const KnownHost* found = table.first(one.intf, one.ip); found != nullptr; found = table.next(found)) {
      ASSERT_EQ(found->mac, plain.at({found->intf, found->vlan, found->ip})) << step;
      ++same;
    }
    for (uint16_t v = 0; v < 3; ++v) same -= plain.count({one.intf, v, one.ip});
    ASSERT_EQ(same, 0u) << step;
    ASSERT_EQ(table.size(), plain.size()) << step;
  }
  const auto rows = table.rows();
  ASSERT_EQ(rows.size(), plain.size());
  auto expected = plain.begin();
  for (const KnownHost& row : rows) EXPECT_EQ(std::tuple(row.intf, row.vlan, row.ip), (expected++)->first);
}

}  // namespace
}  // namespace dhcp::softswitch::test
