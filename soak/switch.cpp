#include "soak/switch.h"

#include <filesystem>

#include "base/list.h"
#include "client6/client6.h"
#include "dhcp/client6.h"
#include "dhcp/relay.h"
#include "dhcp/relay6.h"
#include "dhcp/server.h"
#include "dhcp/server6.h"
#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "module/module.h"
#include "soak/report.h"

namespace soak {

namespace {

constexpr uint32_t save_interval_s = 300, probe_interval_s = 5, snoop_interval_s = 2;

std::string file(const char* name) { return fake::device().temp_directory() + "/" + name; }

void forget_files() {
  for (const char* name : {"table.ini", "table6.ini"}) std::filesystem::remove(file(name));
}

void set_up_servers() {
  dhcp_server_create_pool_entry(1);
  dhcp_server_set_pool_network(1, wire::ip(192, 168, 0, 0), 0xffff0000, wire::ip(192, 168, 0, 10),
                               wire::ip(192, 168, 1, 44));
  dhcp_server_set_pool_lease(1, 30 * 86400);
  dhcp_server_create_pool_entry(2);
  dhcp_server_set_pool_network(2, wire::ip(10, 20, 0, 0), 0xffffff00, wire::ip(10, 20, 0, 10),
                               wire::ip(10, 20, 0, 250));
  dhcp_server_set_pool_lease(2, 60);
  dhcp_server_start_stop(1);
  dhcp6_server_create_pool_entry(1);
  dhcp6_server_set_pool_network(1, wire::ip6("2001:db8:a::10").data(), nullptr, 64);
  dhcp6_server_set_pool_lifetime(1, 20 * 86400, 30 * 86400);
  dhcp6_server_create_pool_entry(2);
  dhcp6_server_set_pool_network(2, wire::ip6("2001:db8:14::10").data(), nullptr, 64);
  dhcp6_server_set_pool_lifetime(2, 30, 60);
  dhcp6_server_start_stop(1);
}

void set_up_snooping() {
  for (const int vlan : {int{client_vlan}, int{server_vlan}}) {
    set_dhcp_snoop_vlan(1, vlan);
    set_dhcp6_snoop_vlan(1, vlan);
  }
  set_dhcp_snoop_trust(1, uplink);
  set_dhcp6_snoop_trust(1, uplink);
  set_dhcp_snoop_writeflash(1, save_interval_s);
  set_dhcp6_snoop_writeflash(1, save_interval_s);
  set_dhcp_snoop_switch(1);
  set_dhcp6_snoop_switch(1);
}

void set_up_relays() {
  DHCPR_set_route_vlan(1, 0);
  DHCPR_start(DHCPR_ON_MANAGEMENT_VLAN);
  DHCPR_set_dhcp_serverip(1, server_ip);
  dhcp6_relay_start_stop(1);
  dhcp6_relay_set_dhcp_serverip(1, wire::ip6("2001:db8:14::5").data(), 0);
}

int32_t links(const DhcpListHead& head) {
  int32_t count = 0;
  for (const DhcpListHead* at = head.next; at != nullptr && at != &head; at = at->next) {
    if (at->next->prev != at || ++count > 5000) violated("a list is broken");
  }
  return count;
}

void check_list(const char* name, const DhcpServerList& list, int32_t most) {
  if (links(list.head) != list.count || list.count > most) violated("%s: %d counted", name, list.count);
  if (list.busy != 0) violated("%s: the word is held", name);
}

/// The bindings of one snooping: those of each bucket, and all of them.
void check_index(const char* name, const DhcpSnoopIndex& index, int32_t count) {
  int32_t all = 0;
  for (int bucket = 0; bucket < DHCP_SNOOP_BUCKETS; ++bucket) {
    if (index.busy[bucket] != 0) violated("%s: the word of bucket %d is held", name, bucket);
    all += links(index.head[bucket]);
  }
  if (count >= 0 && all != count) violated("%s: %d bindings linked, %d counted", name, all, count);
}

/// The frames that an interface's counters tell of, over all interfaces.
template <class Counters, int (*get)(uint32_t, Counters*)>
uint32_t counted_frames() {
  uint32_t sum = 0;
  const auto add = [&sum](uint32_t intf) {
    Counters counters{};
    if (get(intf, &counters) != 0) return;
    for (const auto& row : counters.count)
      for (const uint32_t count : row) sum += count;
  };
  for (uint32_t intf = 0; intf < 64; ++intf) {
    add(intf);
    if (intf != 0) add(0x10000000 + intf);
  }
  return sum;
}

void expect_frames(const char* service, uint32_t counted, uint32_t frames) {
  if (counted != frames) violated("%s: %u frames received, %u counted", service, frames, counted);
}

template <class Row>
uint32_t sum_of(const Row& row) {
  uint32_t sum = 0;
  for (const uint32_t count : row) sum += count;
  return sum;
}

}  // namespace

void Switch::begin(Life life) {
  life_ = life;
  dhcp_snoop_set_database_path(file("table.ini").c_str(), file("next.ini").c_str());
  dhcp6_snoop_set_database_path(file("table6.ini").c_str(), file("next6.ini").c_str());
  forget_files();
  if (dhcp_module_init() != 0 || dhcp_module_start() != 0) violated("the module does not start");
  for (const ModuleTaskEntry& row : dhcp::module::tasks()) {
    if (row.tid == 0xffffffff) violated("the task %s does not run", row.name);
  }
  dhcp_module_stop();
  forget_files();
  configure();
}

void Switch::configure() {
  if (dhcp_module_init() != 0 || snoop_task_init() != 0 || dhcp6c_task_init() != 0)
    violated("the module does not begin");
  ip4_ = ip6_ = to_client6_ = 0;
  dhcp_relay_clear_counters();
  dhcp6_relay_clear_counters();
  dhcp6c_clear_counters();
  dhcp6c_set_interface_ip6_mode(own_vlan, DHCP6C_MODE_DHCPV6);
  if (serves(life_)) set_up_servers();
  if (snoops(life_)) set_up_snooping();
  if (relays(life_)) set_up_relays();
}

void Switch::restart() {
  set_dhcp_snoop_writeflash(2, 0);
  set_dhcp6_snoop_writeflash(2, 0);
  dhcp_module_stop();
  configure();
  dhcp_snooping_mutex_lock_func();
  const int read = read_dhcp_snoop_from_flash();
  dhcp_snooping_mutex_unlock_func();
  if (read != 0 || read_dhcp6_snoop_from_flash() != 0) violated("the bindings do not come back");
}

void Switch::end() {
  dhcp_module_stop();
  if (dhcp_module_init() != 0) violated("the module does not begin");
  dhcp_module_stop();
  exit_dhcp6_relay_cfg();
  dhcp6c_set_interface_ip6_mode(own_vlan, DHCP6C_MODE_STATIC);
  sent();
  const size_t blocks = fake::allocations().live;
  if (blocks_at_rest_ == 0) blocks_at_rest_ = blocks;
  if (blocks != blocks_at_rest_) violated("%zu blocks are left, %zu after the first life", blocks, blocks_at_rest_);
}

void Switch::receive(const Bytes& frame, uint32_t port, Family family) {
  wire::Received received(frame, port, 1600);
  const bool own = frame.size() >= own_mac.size() && std::equal(own_mac.begin(), own_mac.end(), frame.begin());
  // Without the relay, what is addressed to the device itself is for nobody.
  if (family == Family::ip4 && (!own || relays(life_))) ++ip4_;
  if (family == Family::ip6) ++ip6_;
  if (family == Family::ip6 && own) ++to_client6_;
  ++frames_;
  DhcpEvent event{};
  event.type = family == Family::ip4 ? dhcp::module::event_ipv4_frame : dhcp::module::event_ipv6_frame;
  event.data = received.skp();
  dhcp::module::dispatch(event);
  if (fake::device().released_count() != 1) violated("a frame was not released once");
  fake::device().forget();
}

std::vector<fake::Sent> Switch::sent() { return fake::device().take_sent(); }

void Switch::second() {
  ++fake::device().now;
  ++seconds_;
  dhcp_server_mutex_lock_func();
  dhcps_binding_expire_timeout();
  dhcps_conflict_expire_timeout();
  dhcp_server_mutex_unlock_func();
  dhcp6s_binding_expire_timeout();
  if (seconds_ % snoop_interval_s == 0) {
    dhcp_snooping_mutex_lock_func();
    timer_dhcp_snoop();
    cycle_write_bind_flash();
    timer_dhcp6_snoop();
    cycle_write_dhcp6_bind_flash();
    dhcp_snooping_mutex_unlock_func();
  }
  if (seconds_ % probe_interval_s == 0 && relays(life_)) {
    dhcpr_dhcp_server_mac_probe();
    dhcp6_relay_dhcp_server_mac_probe();
  }
  dhcp::client6::pass();
}

void Switch::check() const {
  check_list("pools", dhcps_cfg.pools, DHCPS_MAX_POOLS);
  check_list("leases", dhcps_cfg.bindings, DHCPS_MAX_BINDINGS);
  check_list("conflicts", dhcps_cfg.conflicts, DHCPS_MAX_CONFLICTS);
  check_list("excludes", dhcps_cfg.excludes, 64);
  check_list("IPv6 pools", dhcp6s_cfg.pools, DHCP6S_MAX_POOLS);
  check_list("IPv6 leases", dhcp6s_cfg.bindings, DHCP6S_MAX_BINDINGS);
  check_list("IPv6 conflicts", dhcp6s_cfg.conflicts, DHCP6S_MAX_CONFLICTS);
  check_index("snooping by MAC", g_dhcp_snooping.mac_index, g_dhcp_snooping.bind_count);
  check_index("snooping by address", g_dhcp_snooping.ip_index, -1);
  check_index("IPv6 snooping by MAC", g_dhcp6_snooping.mac_index, g_dhcp6_snooping.bind_count);
  check_index("IPv6 snooping by address", g_dhcp6_snooping.ip_index, -1);
  if (links(dhcpr_cfg.server_list) != dhcpr_cfg.server_count) violated("helpers: %d counted", dhcpr_cfg.server_count);
  if ((dhcpr_cfg.server_busy | dhcpr_cfg.port_users | dhcps_cfg.port_users | gDhcp6Relay.server_busy |
       gDhcp6Relay.port_users | g_dhcp_snooping.intf_busy | g_dhcp6_snooping.intf_busy | dhcpc6_golbal_config.busy) !=
      0) {
    violated("a word is held");
  }
  check_counters();
}

void Switch::check_counters() const {
  if (snoops(life_)) {
    expect_frames("snooping", counted_frames<DhcpSnoopCounters, dhcp_snoop_get_counters>(), ip4_);
    expect_frames("IPv6 snooping", counted_frames<Dhcp6SnoopCounters, dhcp6_snoop_get_counters>(), ip6_);
  }
  if (life_ == Life::relays) {
    DhcpRelayCounters relay{};
    dhcp_relay_get_counters(&relay);
    expect_frames("relay", sum_of(relay.verdicts), ip4_);
    Dhcp6RelayCounters relay6{};
    dhcp6_relay_get_counters(&relay6);
    expect_frames("IPv6 relay", sum_of(relay6.verdicts), ip6_);
  }
  if (serves(life_)) {
    Dhcp6ServerCounters server6{};
    dhcp6_server_get_counters(&server6);
    uint32_t sum = 0;
    for (const auto& row : server6.count) sum += sum_of(row);
    expect_frames("IPv6 server", sum, ip6_);
  }
  Dhcp6cCounters client{};
  dhcp6c_get_counters(&client);
  expect_frames("IPv6 client", sum_of(client.received), to_client6_);
}

}  // namespace soak
