/// Memory that ends, at every allocation of the module in turn: what was to happen has happened once it has been asked
/// for again, nothing is lost on the way, and nothing is left behind.
#include "base/port_list.h"
#include "client6/client6.h"
#include "dhcp/client6.h"
#include "dhcp/relay.h"
#include "dhcp/relay6.h"
#include "dhcp/server6.h"
#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "module/module.h"
#include "tests/unit/bench.h"
#include "tests/unit/wire6.h"

namespace {

using bench::Bytes;
using bench::device;
using bench::ip;
using bench::Mac;
using wire::ip6;
using wire::mac_number;
using wire::Message;
using wire::Message6;
using wire::operator+;

constexpr uint32_t port = 3, uplink = 2;
constexpr Mac server_mac{0x02, 0xbb, 0, 0, 0, 1};
constexpr uint32_t server_ip = ip(10, 20, 0, 5);

/// The allocation with this number fails, and those after it until `length` have.
struct Shortage {
  int from = 0, length = 0;
};

/// What one run leaves: everything that is configured, leased, bound and relayed, at several moments.
struct Record {
  std::string states;
  uint32_t allocations = 0, refused = 0;
  size_t left = 0;  // blocks of the module's that are not freed
};

std::string text_of(const uint8_t (&mac)[6]) { return std::to_string(mac[4] << 8 | mac[5]); }
template <class... Words>
void line(std::string& text, const Words&... words) {
  ((text += (std::ostringstream() << words << ' ').str()), ...);
  text += '\n';
}

class AllocationFailures : public bench::DeviceBench {
 protected:
  void TearDown() override {
    fake::fail_allocations(0);
    dhcp_snoop_set_database_path(nullptr, nullptr);
    dhcp6_snoop_set_database_path(nullptr, nullptr);
    DeviceBench::SetUp();
    init_DHCPS_cfg();
  }

  /// The whole story; what the module says of it on standard output is nobody's concern.
  Record play(Shortage shortage) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Record record = run(shortage);
    testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    return record;
  }

 private:
  Record run(Shortage shortage);
  /// Does what a host, a client or a task does: again, as long as memory was short.
  template <class Action>
  void act(Action action) {
    for (int tries = 0; tries < 50; ++tries) {
      const uint32_t before = fake::allocations().refused;
      action();
      if (fake::allocations().refused == before) return;
    }
    ADD_FAILURE() << "memory was back, and still missed";
  }
  template <class Frame>
  void receive(const Frame& message, uint32_t in_port = port) {
    act([&] {
      wire::Received frame(message.frame(), in_port, 1600);
      DhcpEvent event{};
      event.type = std::is_same_v<Frame, Message6> ? 4 : 1;
      event.data = frame.skp();
      dhcp::module::dispatch(event);
    });
  }
  void start();
  void configure_snooping();
  void configure_servers();
  void lease4();
  void lease6();
  void snoop();
  void restore();
  void client();
  void relay4();
  void relay6();
  void stop();

  void note_configuration(const char* when);
  void note_bindings(const char* when);
  void note_relays();

  std::string states_;
};

void AllocationFailures::start() {
  act([] {
    while (dhcp_module_init() != 0) continue;
  });
  act([] {
    while (snoop_task_init() != 0) continue;
  });
  act([] {
    while (dhcp6c_task_init() != 0) continue;
  });
}

void AllocationFailures::configure_snooping() {
  const auto static_mac = mac_number(90);
  for (const int vlan : {10, 20}) {
    act([=] { set_dhcp_snoop_vlan(1, vlan); });
    act([=] { set_dhcp6_snoop_vlan(1, vlan); });
  }
  act([] { set_dhcp_snoop_switch(1); });
  act([] { set_dhcp6_snoop_switch(1); });
  act([] { set_dhcp_snoop_trust(1, uplink); });
  act([] { set_dhcp6_snoop_trust(1, uplink); });
  act([] { set_dhcp_snoop_serverip(1, server_ip); });
  act([] { set_dhcp6_snoop_serverip(1, ip6("fe80::1").data()); });
  act([=] { set_dhcp_snoop_verify_mac(1, static_mac.data(), 1); });
  act([=] { set_dhcp_snoop_bind(1, static_mac.data(), ip(192, 168, 1, 90), 4, 10, 600); });
  act([=] { set_dhcp6_snoop_bind(1, static_mac.data(), 4, 10, 600); });
  act([] { set_dhcp_snoop_option82_circuit_id(1, 20, 1, "circuit"); });
  act([] { set_dhcp_snoop_option82_remote_id(1, 20, 2, "remote"); });
  act([] { set_dhcp_snoop_option82_ip(1, 10, ip(192, 168, 1, 0)); });
  act([] { set_dhcp_snoop_option82_switch(1); });
  act([] {
    dhcp_snooping_mutex_lock_func();
    dhcp_snooping_add_port(0x1000000f);
    dhcp_snooping_mutex_unlock_func();
  });
  act([] { dhcp_relay_add_port(0x1000000f); });
}

void AllocationFailures::configure_servers() {
  const uint32_t ips[] = {ip(192, 168, 1, 2), ip(192, 168, 1, 3)};
  const auto address = [](const char* text) { return ip6(text); };
  const uint8_t dns6[1][16] = {{0x20, 1, 0xd, 0xb8}};
  const auto host = mac_number(91);
  act([] { dhcp_server_create_pool_entry(1); });
  act([] {
    dhcp_server_set_pool_network(1, ip(192, 168, 1, 0), 0xffffff00, ip(192, 168, 1, 10), ip(192, 168, 1, 40));
  });
  act([&] { dhcp_server_set_router(1, ips, 2); });
  act([&] { dhcp_server_set_dns_srv(1, ips, 2); });
  act([] { dhcp_server_set_tftp_server(1, "tftp"); });
  act([] { dhcp_server_set_boot_file_name(1, "boot"); });
  act([] { dhcp_server_set_domain_name(1, "example.net"); });
  act([] { dhcp_server_set_pool_option(1, 43, 4, Bytes(312, 'x').data(), 2); });
  act([=] { dhcp_server_set_static_host(1, host.data(), ip(192, 168, 1, 30)); });
  act([] { dhcp_server_set_exclude_ip(ip(192, 168, 1, 11), ip(192, 168, 1, 12)); });
  act([] { dhcp_server_start_stop(1); });
  act([] { dhcp6_server_create_pool_entry(1); });
  act([=] { dhcp6_server_set_pool_network(1, address("2001:db8:1::10").data(), nullptr, 64); });
  act([&] { dhcp6_server_set_dns_srv(1, dns6, 1); });
  act([] { dhcp6_server_set_domain_name(1, "example.net"); });
  act([=] { dhcp6_server_set_exclude_ip(1, address("2001:db8:1::11").data()); });
  act([=] { dhcp6_server_set_static_host(1, host.data(), address("2001:db8:1::30").data()); });
  act([] { dhcp6_server_start_stop(1); });
}

/// Leases, an offer, a conflict and a release of the IPv4 server's.
void AllocationFailures::lease4() {
  const auto leased = [](const Mac& mac) -> uint32_t {
    for (const DhcpBinding& b : dhcp::base::Records<DhcpBinding>(dhcps_cfg.bindings.head)) {
      if (std::equal(mac.begin(), mac.end(), b.client_id)) return b.ip;
    }
    return 0;
  };
  const uint32_t own = ip(192, 168, 1, 1);
  set_dhcp_snoop_switch(0);  // which keeps clients on untrusted ports from the switch's own server
  for (uint32_t n = 1; n <= 4; ++n) receive(Message(wire::DISCOVER, mac_number(n)));
  for (uint32_t n = 1; n <= 3; ++n) {
    const Mac mac = mac_number(n);
    receive(Message(wire::REQUEST, mac).ip_option(54, own).ip_option(50, leased(mac)));
  }
  receive(Message(wire::DECLINE, mac_number(2)).ip_option(54, own).ip_option(50, leased(mac_number(2))));
  receive(Message(wire::RELEASE, mac_number(3)).ip_option(54, own).ciaddr(leased(mac_number(3))));
  receive(Message(wire::DISCOVER, mac_number(4)));
  receive(Message(wire::DISCOVER, mac_number(1)));  // begins anew, and is offered what it holds
  set_dhcp_snoop_switch(1);
}

void AllocationFailures::lease6() {
  const auto ids = [](uint32_t n, bool server) {
    const Mac mac = mac_number(n);
    const Bytes own(std::begin(dhcp6s_cfg.duid), std::end(dhcp6s_cfg.duid));
    return wire::option6(1, Bytes{0, 3, 0, 1} + Bytes(mac.begin(), mac.end())) +
           (server ? wire::option6(2, own) : Bytes{});
  };
  const auto ia = [](uint32_t n) {
    return wire::ia_na(n, wire::ia_address(ip6(("2001:db8:1::2" + std::to_string(n)).c_str()), 100, 200));
  };
  for (uint32_t n = 1; n <= 3; ++n) receive(Message6(wire::SOLICIT6, mac_number(n), ids(n, false) + ia(n)));
  for (uint32_t n = 1; n <= 2; ++n) receive(Message6(wire::REQUEST6, mac_number(n), ids(n, true) + ia(n)));
  receive(Message6(wire::DECLINE6, mac_number(2), ids(2, true) + ia(2)));
  receive(Message6(wire::SOLICIT6, mac_number(1), ids(1, false) + wire::ia_na(1, {})));
}

/// Clients of a server beyond the trusted port.
void AllocationFailures::snoop() {
  for (uint32_t n = 51; n <= 54; ++n) {
    const Mac mac = mac_number(n);
    receive(Message(wire::DISCOVER, mac).vlan(20));
    receive(Message(wire::ACK, mac)
                .at(0, {2})
                .at(16, wire::be32(ip(10, 20, 0, 0) + n))
                .ip_option(51, 600)
                .vlan(20)
                .from(server_mac)
                .from_ip(server_ip),
            uplink);
    receive(Message6(wire::SOLICIT6, mac).vlan(20));
    const Bytes leased = wire::ia_na(1, wire::ia_address(ip6(("2001:db8:20::" + std::to_string(n)).c_str()), 600, 600));
    receive(Message6(wire::REPLY6, server_mac, leased)
                .vlan(20)
                .from_server()
                .from_ip(ip6("fe80::1"))
                .to(mac, ip6("fe80::2")),
            uplink);
  }
}

/// The switch is started anew: the host configures, then the task reads both files, and saves what it holds.
void AllocationFailures::restore() {
  const auto saved = [] {
    set_dhcp_snoop_writeflash(2, 0);
    set_dhcp6_snoop_writeflash(2, 0);
  };
  act(saved);
  dhcp_module_stop();
  start();
  configure_snooping();
  act([] {
    dhcp_snooping_mutex_lock_func();
    read_dhcp_snoop_from_flash();
    dhcp_snooping_mutex_unlock_func();
    set_dhcp_snoop_writeflash(2, 0);  // as if the host saved in the midst of it
  });
  act([] {
    read_dhcp6_snoop_from_flash();
    set_dhcp6_snoop_writeflash(2, 0);
  });
  states_ += bench::read_file(device().temp_directory() + "/table.ini");
  states_ += bench::read_file(device().temp_directory() + "/table6.ini");
}

/// The switch's own interface gets an address.
void AllocationFailures::client() {
  act([] { dhcp6c_set_interface_ip6_mode(20, DHCP6C_MODE_DHCPV6); });
  const auto second = [this] {
    ++device().now;
    act([] { dhcp::client6::pass(); });
  };
  const auto answer = [](int type) {
    return Message6(type, server_mac,
                    wire::option6(1, {0, 3, 0, 1, 2, 0, 0, 0, 0, 1}) + wire::option6(2, {0, 2, 9, 9}) +
                        wire::ia_na(20, wire::ia_address(ip6("2001:db8::5"), 200, 300), 100, 160))
        .xid(dhcp6c_find_interface_node(20)->xid)
        .vlan(20)
        .from_server()
        .from_ip(ip6("fe80::1"))
        .to(fake::Device::default_mac, ip6("fe80::ff:fe00:1"));
  };
  if (dhcp6c_find_interface_node(20) == nullptr) return;
  second();
  receive(answer(wire::ADVERTISE6), uplink);
  second();
  receive(answer(wire::REPLY6), uplink);
  second();
}

void AllocationFailures::relay4() {
  act([] { dhcp_server_start_stop(0); });
  act([] { DHCPR_set_route_vlan(1, 0); });
  act([] { DHCPR_start(DHCPR_ON_MANAGEMENT_VLAN); });
  act([] { DHCPR_set_dhcp_serverip(1, server_ip); });
  act([] { dhcpr_dhcp_server_mac_probe(); });
  for (uint32_t n = 1; n <= 2; ++n) receive(Message(wire::DISCOVER, mac_number(n)));
  device().now += 400;  // their MACs have aged
  act([] { dhcpr_dhcp_server_mac_probe(); });
}

void AllocationFailures::relay6() {
  act([] { dhcp6_server_start_stop(0); });
  act([] { dhcp6_relay_start_stop(1); });
  act([] { dhcp6_relay_set_dhcp_serverip(1, ip6("2001:db8:20::5").data(), 0); });
  act([] { dhcp6_relay_dhcp_server_mac_probe(); });
  receive(Message6(wire::SOLICIT6, mac_number(1), wire::option6(1, {1, 2, 3})));
  receive(Message6::relayed(wire::RELAY_FORW6, mac_number(92), 1, ip6("2001:db8:99::1"), ip6("fe80::99"),
                            wire::option6(9, {7, 1, 2, 3, 0, 1, 0, 1, 0xcc})));
  device().now += 400;
  act([] { dhcp6_relay_dhcp_server_mac_probe(); });
}

void AllocationFailures::note_configuration(const char* when) {
  line(states_, "configuration", when);
  for (auto* save : {onu_dhcp_snoop_save, onu_dhcp6_snoop_save, onu_dhcp_server_save, onu_dhcp6_server_save,
                     onu_dhcp_relay_save, onu_dhcp6_relay_save}) {
    states_ += saved(save);
  }
  line(states_, "ports", dhcpr_cfg.port_count, dhcps_cfg.port_count, gDhcp6Relay.port_count, g_dhcp_snooping.intf_count,
       g_dhcp6_snooping.intf_count);
}

void AllocationFailures::note_bindings(const char* when) {
  line(states_, "bindings", when);
  for (const DhcpBinding& b : dhcp::base::Records<DhcpBinding>(dhcps_cfg.bindings.head)) {
    line(states_, "lease", b.ip, b.pool_id, int{b.state}, b.expire);
  }
  for (const DhcpConflictIp& c : dhcp::base::Records<DhcpConflictIp>(dhcps_cfg.conflicts.head)) {
    line(states_, "conflict", c.ip, c.time);
  }
  for (const Dhcp6Binding& b : dhcp::base::Records<Dhcp6Binding>(dhcp6s_cfg.bindings.head)) {
    line(states_, "lease6", int{b.ip6[15]}, b.pool_id, b.iaid, int{b.state}, b.time);
  }
  line(states_, "conflicts6", dhcp6s_cfg.conflicts.count);
  DhcpSnoopBinding bound[32];
  for (int i = 0, count = dhcp_snoop_get_bindings(bound, 32); i < count; ++i) {
    const auto& b = bound[i];
    line(states_, "bound", text_of(b.mac), b.ip, b.intf, b.vlan, b.lease, b.is_static, b.state);
  }
  Dhcp6SnoopBinding bound6[32];
  for (int i = 0, count = dhcp6_snoop_get_bindings(bound6, 32); i < count; ++i) {
    const auto& b = bound6[i];
    line(states_, "bound6", text_of(b.mac), int{b.ip6[15]}, b.intf, b.vlan, b.lease, b.is_static, b.state);
  }
}

void AllocationFailures::note_relays() {
  DhcpRelayHelper helpers[DHCPR_MAX_HELPERS];
  for (size_t i = 0, count = dhcp_relay_get_helpers(helpers, DHCPR_MAX_HELPERS); i < count; ++i) {
    line(states_, "helper", helpers[i].ip, text_of(helpers[i].mac), int{helpers[i].valid}, int{helpers[i].probe});
  }
  Dhcp6RelayDestination listed[DHCP6_RELAY_MAX_DESTINATIONS];
  for (size_t i = 0, count = dhcp6_relay_get_destinations(listed, DHCP6_RELAY_MAX_DESTINATIONS); i < count; ++i) {
    line(states_, "destination", int{listed[i].ip6[15]}, text_of(listed[i].mac), int{listed[i].state});
  }
  for (const DhcpInfoNode& slot : dhcpr_cfg.info_table) {
    if (slot.valid != 0) line(states_, "relayed", text_of(slot.mac), slot.from_port, slot.from_vlan);
  }
  for (const Dhcp6InfoNode& slot : gDhcp6Relay.info_table) {
    if (slot.valid != 0) line(states_, "relayed6", text_of(slot.mac), slot.port, slot.vlan, slot.link != nullptr);
  }
  Dhcp6cInterface own[4];
  for (int i = 0, count = dhcp6c_get_interfaces(own, 4); i < count; ++i) {
    line(states_, "own", own[i].vlan, int{own[i].state}, int{own[i].installed}, own[i].valid_lifetime);
  }
}

/// Everything that a host can take back.
void AllocationFailures::stop() {
  dhcp6c_set_interface_ip6_mode(20, DHCP6C_MODE_STATIC);
  DHCPR_set_dhcp_serverip(0, server_ip);
  dhcp_server_clear_conflict(0);
  dhcp_server_del_exclude_ip(ip(192, 168, 1, 11), ip(192, 168, 1, 12));
  dhcp_server_del_pool_entry(1);
  dhcp6_server_del_pool_entry(1);
  dhcp6_server_clear_conflict(nullptr);
  dhcp_module_stop();
  exit_dhcp6_relay_cfg();
  DHCPR_set_route_vlan(0, 0);
}

Record AllocationFailures::run(Shortage shortage) {
  DeviceBench::SetUp();
  device().physical_ports = 4;
  device().vlan_interfaces[10] = {
      .ip = ip(192, 168, 1, 1), .mac = mac_number(10), .mask = 0xffffff00, .ip6 = "2001:db8:1::1", .prefix6 = 64};
  device().vlan_interfaces[20] = {
      .ip = ip(10, 20, 0, 1), .mac = mac_number(20), .mask = 0xffffff00, .ip6 = "2001:db8:20::1", .prefix6 = 64};
  device().arp_hosts[server_ip] = server_mac;
  std::array<uint8_t, 16> neighbour = ip6("2001:db8:20::5");
  device().neighbours6[neighbour] = server_mac;
  device().mac_table[{server_mac, 20}] = uplink;
  for (uint32_t n = 1; n < 5; ++n) device().mac_table[{mac_number(n), 10}] = port;
  at(0);
  const std::string files = device().temp_directory();
  dhcp_snoop_set_database_path((files + "/table.ini").c_str(), (files + "/next.ini").c_str());
  dhcp6_snoop_set_database_path((files + "/table6.ini").c_str(), (files + "/next6.ini").c_str());

  states_.clear();
  const fake::Allocations before = fake::allocations();
  fake::fail_allocations(shortage.length, shortage.from);
  start();
  configure_snooping();
  configure_servers();
  note_configuration("at first");
  lease4();
  lease6();
  snoop();
  note_bindings("at first");
  restore();
  configure_servers();
  note_configuration("restored");
  note_bindings("restored");
  lease4();
  lease6();
  note_bindings("leased again");
  client();
  relay4();
  relay6();
  note_configuration("relays");
  note_relays();
  const fake::Allocations after = fake::allocations();
  fake::fail_allocations(0);
  stop();
  EXPECT_EQ(dhcps_cfg.pools.count + dhcps_cfg.bindings.count + dhcp6s_cfg.bindings.count, 0);
  return {states_, after.asked - before.asked, after.refused - before.refused, fake::allocations().live};
}

TEST_F(AllocationFailures, EachInTurnAndAllForAWhileLoseNothing) {
  play({});  // what the process keeps for good is there from now on
  const Record whole = play({});
  ASSERT_GT(whole.allocations, 50u);
  const int sites = static_cast<int>(whole.allocations);
  for (int site = 0; site < sites && !HasFailure(); ++site) {
    for (const int length : {1, 7}) {
      SCOPED_TRACE("allocation " + std::to_string(site) + " of " + std::to_string(sites) + ", " +
                   std::to_string(length) + " in a row");
      const Record seen = play({site, length});
      EXPECT_GE(seen.refused, 1u);
      EXPECT_EQ(seen.states, whole.states);
      EXPECT_EQ(seen.left, whole.left);
    }
  }
}

}  // namespace
