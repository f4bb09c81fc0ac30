#include "tests/cli/json_bench.h"

#include "client6/client6.h"
#include "dhcp/counters.h"
#include "dhcp/relay.h"
#include "dhcp/relay6.h"
#include "dhcp/server.h"
#include "dhcp/server6.h"
#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "softswitch/log.h"
#include "tests/unit/wire6.h"

namespace dhcp::softswitch::cli {
namespace {

using wire::Message;
using wire::Message6;
using wire::option6;
using wire::operator+;

constexpr wire::Mac client{2, 0, 0, 0, 0, 0x51}, server{2, 0, 0, 0, 0, 0x99};
const wire::Ip6 leased6 = wire::ip6("2001:db8:10::51");
constexpr uint32_t leased = wire::ip(10, 0, 0, 51), lease_s = 600;

constexpr char configuration[] = R"(
hostname core
interface gigabitethernet 1
 description hall
 device veth1
 switchport trunk allowed vlan 5,7
 switchport trunk native vlan 7
 ip verify source
 ipv6 verify source
 ip arp inspection
 ip dhcp snooping trust
 ipv6 dhcp snooping trust
interface vlan 10
 ip address 10.0.0.1 255.255.255.0
 ip gateway 10.0.0.254
 ipv6 address 2001:db8:10::1/64
 ipv6 gateway 2001:db8:10::fe
interface vlan 30
 ipv6 address dhcp
ip dhcp pool 1
 network 10.0.0.0 255.255.255.0 10.0.0.10 10.0.0.99
 domain-name lab.example
 server-name tftp
 boot-file-name image
 boot-file-size 7
 option 43 hex 0104c0a80a01
 option 42 ip 192.0.2.1
 option 100 ascii CET
 host 02:00:00:00:00:52 10.0.0.52
 default-router 10.0.0.1
 dns-server 192.0.2.2 192.0.2.1
ip dhcp excluded-address 10.0.0.20 10.0.0.29
ipv6 dhcp pool 1
 network-address 2001:db8:10:: 64
 lifetime 3600 infinity
 domain-name lab.example
 dns-server 2001:db8::53
 excluded-address 2001:db8:10::1
 static-binding 02:00:00:00:00:52 2001:db8:10::52
ipv6 dhcp pool 2
 network-address 2001:db8:20::10 2001:db8:20::20
ipv6 dhcp pool 3
ip dhcp snooping
ip dhcp snooping vlan 10
ip dhcp snooping limit 5000
ip dhcp snooping dhcpserver 10.0.0.2
ip dhcp snooping database write-delay 300
ip dhcp information option circuitid 1 fromvlan 10 acsii-string building 7
ip dhcp information option remoteid 2 fromvlan 10 acsii-string access-3
ip dhcp information option ip 10.0.0.1 fromvlan 10
ipv6 dhcp snooping
ipv6 dhcp snooping vlan 10
ipv6 dhcp snooping dhcpserver fe80::2
ipv6 dhcp snooping database write-delay 300
service dhcp-relay management-vlan
service dhcpv6-relay
ipv6 dhcp relay destination 2001:db8:99::1 interface gigabitethernet 2
ipv6 dhcp relay destination 2001:db8:99::2
)";

/// A client that snooping knows, on port 1 in VLAN 10.
template <class Binding>
void place(Binding& binding) {
  binding.intf = binding.new_intf = 1;
  binding.vlan = binding.new_vlan = 10;
  binding.lease = lease_s;
  binding.state = 1;
  binding.time = static_cast<int32_t>(fake::device().now.load());
}

template <class Frame, class Process>
void receive(const Frame& frame, uint32_t port, Process process) {
  wire::Received received(frame.frame(), port);
  process(received.skp());
}

}  // namespace

JsonBench::~JsonBench() {
  dhcp_clear_counters();
  clear_log_lines();
}

nlohmann::ordered_json JsonBench::ask(const std::string& line) {
  const std::string text = type({line + " json"});
  EXPECT_EQ(text.find('\n') + 1, text.size()) << text;
  auto value = nlohmann::ordered_json::parse(text, nullptr, false);
  EXPECT_FALSE(value.is_discarded()) << line << ": " << text;
  return value;
}

void JsonBench::fill() {
  ASSERT_EQ(load(configuration), "");
  fill_device();
  fill_servers();
  fill_snoopings();
  fill_relays();
  fill_client6();
  log_line(4, "a line");
  type({"write memory"});
}

void JsonBench::fill_device() {
  fake().macs = {{10, {2, 0, 0, 0, 0, 0x51}, 1, 12}};
  fake().task_rows = {{"dhcpr", 7, 4711}};
  for (const HostList list : {HostList::source_guard, HostList::arp_check, HostList::fixed_arp})
    fake().host_lists[list] = {{1, leased, 10, client, 600, 2}};
  fake().igmp_hears = fake().host_lists[HostList::source_guard];
  fake().host_list6 = {{1, 10, client, leased6, 600}};
  fake().capturing = {{"/tmp/a", 3, true, 64}, CaptureState::failed, "no room", 1, 2, 3};
}

void JsonBench::fill_servers() {
  wire::Received discover(Message(wire::DISCOVER, client).frame());
  DhcpBinding* const binding = dhcp_add_binding(discover.skp(), dhcp_get_pool_by_id(1), leased);
  binding->state = DHCPS_ACKNOWLEDGED;
  binding->expire = 4'000'000'000;
  wire::Received other(Message(wire::DISCOVER, client).option(61, {0, 'p', 'c'}).frame());
  DhcpBinding* const endless = dhcp_add_binding(other.skp(), dhcp_get_pool_by_id(1), leased + 1);
  endless->state = DHCPS_ACKNOWLEDGED;
  endless->expire = infinite_time;
  dhcp_add_conflict_ip(wire::ip(10, 0, 0, 60));
  const uint8_t duid[] = {0, 3, 0, 1, 2, 0, 0, 0, 0, 0x51};
  Dhcp6Binding* const binding6 = dhcp6_add_binding(duid, sizeof duid, dhcp6_get_pool_by_id(1), leased6.data());
  binding6->state = DHCP6S_BOUND;
  binding6->ia_type = 3;
  binding6->preferred = 3600;
  binding6->valid = lease_s;
  dhcp6_add_conflict_ip(wire::ip6("2001:db8:10::60").data());
  receive(Message6(wire::SOLICIT6, client).vlan(99), 1, dhcp6_server_packet_process);
}

void JsonBench::fill_snoopings() {
  receive(Message(wire::OFFER, client).at(0, {2}).from(server).from_ip(wire::ip(10, 0, 0, 9)), 4,
          dhcp_packet_snooping_process);
  receive(Message6(wire::REPLY6, server).from_server(), 4, dhcp6_packet_snooping_process);
  receive(Message(wire::DISCOVER, {2, 0, 0, 0, 0, 0x53}), 1, dhcp_packet_snooping_process);
  receive(Message6(wire::SOLICIT6, {2, 0, 0, 0, 0, 0x53}), 1, dhcp6_packet_snooping_process);
  skpack headerless{};
  dhcp_packet_snooping_process(&headerless);
  dhcp6_packet_snooping_process(&headerless);
  MacBindStruct* const binding = find_MacBindStruct(client.data(), 1);
  place(*binding);
  binding->ip = leased;
  insert_VlanIp_table(binding);
  MacBind6Struct* const binding6 = find_MacBind6Struct(client.data(), 1);
  place(*binding6);
  std::copy(leased6.begin(), leased6.end(), binding6->ip6);
  insert_VlanIp6_table(binding6);
  write_dhcp_snoop_to_flash();
  read_dhcp_snoop_from_flash();
  write_dhcp6_snoop_to_flash();
  read_dhcp6_snoop_from_flash();
}

void JsonBench::fill_relays() {
  int error = 0;
  DHCPR_find_dhcp_serverip(wire::ip(10, 0, 0, 2), 1, nullptr, 0, &error);
  DHCPR_find_dhcp_serverip(wire::ip(10, 0, 0, 2), 0, server.data(), 10, &error);
  DHCPR_find_dhcp_serverip(wire::ip(10, 0, 0, 3), 1, nullptr, 0, &error);
  dhcp6_relay_find_dhcp_serverip(wire::ip6("2001:db8:99::1").data(), 0, server.data(), 10);
}

/// The interface of VLAN 20 asks and is answered.
void JsonBench::fill_client6() {
  type({"configure", "interface vlan 20", "ipv6 address dhcp", "end"});
  const wire::Bytes own{0, 3, 0, 1, 2, 0, 0, 0, 0, 1}, its{0, 2, 0, 0, 1, 2, 3};
  const auto answer = [&](int kind) {
    Message6 message(kind, server,
                     option6(1, own) + option6(2, its) +
                         wire::ia_na(20, wire::ia_address(leased6, 200, 300), 100, 160) +
                         option6(23, wire::bytes_of(wire::ip6("2001:db8::53"))));
    message.xid(dhcp6c_find_interface_node(20)->xid).vlan(20).from_server().from_ip(wire::ip6("fe80::99"));
    receive(message.to(fake::Device::default_mac, wire::ip6("fe80::1")), 3, dhcp6_client_packet_process);
  };
  client6::pass();
  answer(wire::ADVERTISE6);
  answer(wire::REPLY6);
  ++fake::device().now;
  client6::pass();
  fake::device().take_sent();
}

}  // namespace dhcp::softswitch::cli
