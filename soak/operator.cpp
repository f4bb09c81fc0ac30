#include "soak/operator.h"

#include <cstdlib>
#include <filesystem>

#include "dhcp/client6.h"
#include "dhcp/module.h"
#include "dhcp/relay.h"
#include "dhcp/relay6.h"
#include "dhcp/server.h"
#include "dhcp/server6.h"
#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "soak/report.h"

namespace soak {

namespace {

constexpr uint32_t hour_s = 3600;

std::string line_of(uint32_t n) { return "line-" + std::to_string(n); }

/// MACs that no frame carries: what is configured for them is nobody's.
Mac configured_mac(uint32_t n) { return {0x02, 0x77, 0, 0, 0, static_cast<uint8_t>(n)}; }

}  // namespace

void Operator::servers() {
  const uint32_t n = dice_.below(10), pool = 3 + dice_.below(8);
  const uint32_t network = wire::ip(10, 50, pool, 0);
  const uint32_t ips[] = {network + 1, network + 2, network + 3};
  const auto ip6 = wire::ip6(("2001:db8:" + std::to_string(pool) + "::" + std::to_string(n)).c_str());
  const uint8_t dns6[2][16] = {{0x20, 1}, {0x20, 2}};
  const bool add = !dice_.one_in(3);
  switch (dice_.below(16)) {
    case 0: add ? dhcp_server_create_pool_entry(pool) : dhcp_server_del_pool_entry(pool); break;
    case 1: dhcp_server_set_pool_network(pool, network, 0xffffff00, network + n, network + 100 + n); break;
    case 2: dhcp_server_set_pool_option(pool, static_cast<uint8_t>(n), 8, Bytes(312, 'o').data(), 2); break;
    case 3: dhcp_server_set_static_host(pool, configured_mac(n).data(), network + 20 + n); break;
    case 4: dhcp_server_del_static_host(pool, configured_mac(n).data()); break;
    case 5: dhcp_server_set_router(pool, ips, static_cast<int>(1 + n % 3)); break;
    case 6: dhcp_server_set_dns_srv(pool, ips, static_cast<int>(1 + n % 3)); break;
    case 7: dhcp_server_set_domain_name(pool, line_of(n).c_str()); break;
    case 8:
      add ? dhcp_server_set_exclude_ip(network + n, network + n + 5)
          : dhcp_server_del_exclude_ip(network + n, network + n + 5);
      break;
    case 9: dhcp_server_clear_conflict(dice_.one_in(2) ? 0 : network + n); break;
    case 10: add ? dhcp6_server_create_pool_entry(pool) : dhcp6_server_del_pool_entry(pool); break;
    case 11: dhcp6_server_set_pool_network(pool, ip6.data(), nullptr, 64); break;
    case 12: dhcp6_server_set_dns_srv(pool, dns6, 2); break;
    case 13:
      add ? dhcp6_server_set_domain_name(pool, line_of(n).c_str())
          : dhcp6_server_del_domain_name(pool, line_of(n).c_str());
      break;
    case 14: dhcp6_server_set_static_host(pool, configured_mac(n).data(), ip6.data()); break;
    default: dhcp6_server_clear_conflict(nullptr); break;
  }
}

void Operator::snooping() {
  const uint32_t n = dice_.below(20), port = 17 + n % 4;
  const bool add = !dice_.one_in(3);
  const int on = add ? 1 : 0;
  const Mac mac = configured_mac(n);
  switch (dice_.below(14)) {
    case 0: set_dhcp_snoop_vlan(on, own_vlan); break;
    case 1: set_dhcp6_snoop_vlan(on, own_vlan); break;
    case 2: set_dhcp_snoop_suppression(on, port); break;
    case 3: set_dhcp6_snoop_suppression(on, port); break;
    case 4: set_dhcp_snoop_limit(static_cast<int>(n * 100)); break;
    case 5: set_dhcp_snoop_verify_mac(on, mac.data(), static_cast<int>(n % 2)); break;
    case 6: set_dhcp_snoop_bind(on, mac.data(), wire::ip(10, 60, 0, n), port, client_vlan, 3600); break;
    case 7: set_dhcp6_snoop_bind(on, mac.data(), port, client_vlan, 3600); break;
    case 8: set_dhcp_snoop_option82_switch(on); break;
    case 9: set_dhcp_snoop_option82_circuit_id(on, static_cast<int>(n), 1, line_of(n).c_str()); break;
    case 10: set_dhcp_snoop_option82_ip(on, static_cast<int>(n), n); break;
    case 11: dhcp_snooping_binding_clear(16, 0, nullptr, 0, port); break;
    case 12: dhcp6_snooping_binding_clear(13, nullptr, nullptr, 0, port); break;
    default:
      set_dhcp_snoop_writeflash(2, 0);
      set_dhcp6_snoop_writeflash(2, 0);
      break;
  }
}

void Operator::relays() {
  const uint32_t n = dice_.below(12);
  const int op = dice_.one_in(3) ? 0 : 1;
  const auto ip6 = wire::ip6(("2001:db8:14::1:" + std::to_string(n)).c_str());
  switch (dice_.below(5)) {
    case 0: DHCPR_set_dhcp_serverip(op, wire::ip(10, 20, 0, 100) + n); break;
    case 1: dhcp6_relay_set_dhcp_serverip(op, ip6.data(), 0); break;
    case 2: DHCPR_set_dhcp_option82_switch(op); break;
    case 3: DHCPR_set_trust(op); break;
    default: DHCPR_set_route_port(static_cast<int>(n + 1)); break;
  }
}

/// Displays and saves, into files and memory.
void Operator::look() {
  char path[128];
  for (auto* show : {show_dhcp_server_conf, show_dhcp_server_binding, show_dhcp6_server_binding, show_dhcp_snoop_bind,
                     show_dhcp6_snoop_bind, show_dhcp_relay_info, show_dhcp6_relay_info, show_dhcp_snoop_conf}) {
    if (dice_.one_in(4) && show(path, 0, 0) > 0) std::filesystem::remove(path);
  }
  for (auto* save : {onu_dhcp_snoop_save, onu_dhcp6_snoop_save, onu_dhcp_server_save, onu_dhcp6_server_save,
                     onu_dhcp_relay_save, onu_dhcp6_relay_save}) {
    char* text = nullptr;
    size_t size = 0;
    FILE* stream = open_memstream(&text, &size);
    if (save(stream) != 0) violated("a configuration is not saved");
    fclose(stream);
    free(text);
  }
}

void Operator::port_change() {
  uint32_t ports[24] = {};
  ports[0] = 17 + dice_.below(4);
  ports[8] = 21 + dice_.below(2);
  notice_port_change_to_dhcp(ports);
}

/// By an hour at most, so that no resident's month is over before it has renewed.
void Operator::set_clock() {
  const uint32_t seconds = dice_.below(hour_s);
  fake::device().now += dice_.one_in(2) ? seconds : 0U - seconds;
}

void Operator::act() {
  switch (dice_.below(10)) {
    case 0: look(); break;
    case 1: port_change(); break;
    case 2:
      if (dice_.one_in(5)) set_clock();
      break;
    default:
      if (serves(switch_.life())) servers();
      if (snoops(switch_.life())) snooping();
      if (soak::relays(switch_.life())) relays();
  }
  fake::device().forget();
}

}  // namespace soak
