/// Displays: status and pools, leases, conflicts.
#include "base/os.h"
#include "base/report.h"
#include "base/text.h"
#include "base/time_text.h"
#include "packet/options6.h"
#include "platform/text.h"
#include "server6/bindings.h"
#include "server6/conflicts.h"

using namespace dhcp::server6;
using dhcp::base::BusyGuard;
using dhcp::base::Ip6Text;
using dhcp::base::Records;

namespace {

void line(FILE* out, const char* name, const char* value) { fprintf(out, "%-30s : %s\n", name, value); }

void write_lifetime(FILE* out, const char* name, uint32_t seconds) {
  if (seconds == infinite_lifetime) {
    line(out, name, "infinite");
  } else {
    fprintf(out, "%-30s : %u secs\n", name, seconds);
  }
}

void write_network(FILE* out, const Dhcp6Pool& pool) {
  line(out, "start ip", Ip6Text(pool.start).c_str());
  if (pool.prefix_len != 0) {
    fprintf(out, "%-30s : %d\n", "prefix length", pool.prefix_len);
  } else {
    line(out, "end ip", Ip6Text(pool.end).c_str());
  }
}

void write_pool(FILE* out, const Dhcp6Pool& pool) {
  fprintf(out, "\n%-30s : %d\n", "pool id", static_cast<int>(pool.pool_id));
  fputs("-------------------------------------------\n", out);
  write_network(out, pool);
  write_lifetime(out, "preferred lifetime", pool.preferred);
  write_lifetime(out, "valid lifetime", pool.valid);
  for (int i = 0; i < pool.domain_count; ++i) line(out, "domain name", pool.domain[i]);
  for (int i = 0; i < pool.dns_count; ++i) line(out, "dns server", Ip6Text(pool.dns[i]).c_str());
  for (int i = 0; i < pool.exclude_count; ++i) line(out, "excluded address", Ip6Text(pool.exclude[i]).c_str());
  for (int i = 0; i < pool.host_count; ++i) {
    char mac[18];
    fprintf(out, "%-30s : %s %s\n", "static binding", onu_mac2str(pool.host[i].mac, mac),
            Ip6Text(pool.host[i].ip6).c_str());
  }
}

void write_pools(FILE* out) {
  const PoolsLock lock;
  fprintf(out, "\n%-30s : %s \n\n", "server status", str_enable(dhcp6s_cfg.enabled));
  for (const Dhcp6Pool& pool : pools()) write_pool(out, pool);
  fputc('\n', out);
}

/// The client comes last: its identifier may be long.
void write_binding(FILE* out, const Dhcp6Binding& binding) {
  const int64_t left = dhcp6_server_binding_left(&binding);
  fprintf(out, "         %-39s %-6s %-18s ", Ip6Text(binding.ip6).c_str(),
          binding.ia_type == dhcp::packet::option6::ia_ta ? "IA_TA" : "IA_NA",
          left < 0 ? "infinite" : dhcp::base::TimeLeftText(static_cast<uint32_t>(left)).c_str());
  for (int i = 0; i < binding.id_len; ++i) fprintf(out, "%02x", binding.client_id[i]);
  fputc('\n', out);
}

void write_bindings(FILE* out) {
  const PoolsLock lock;
  const BusyGuard busy(dhcp6s_cfg.bindings.busy);
  int total = 0;
  fprintf(out, "\n         %-39s %-6s %-18s %s \n", "ip address", "type", "  expire time", "client id");
  fprintf(out, "         %-39s %-6s %-18s %s \n", "----------", "-----", "---------------", "---------");
  for (const Dhcp6Binding& binding : bindings()) {
    if (binding.state != DHCP6S_BOUND) continue;
    write_binding(out, binding);
    ++total;
  }
  fputs("-------------------------------------------------------------------------------\r\n", out);
  fprintf(out, "Total : %d \r\n\n", total);
}

void write_conflicts(FILE* out) {
  const PoolsLock lock;
  const BusyGuard busy(dhcp6s_cfg.conflicts.busy);
  fprintf(out, "\n         %-39s  %-20s\n", "IP Address", "   Detection Time");
  fprintf(out, "         %-39s  %-20s\n", "----------", "--------------------");
  for (const Dhcp6ConflictIp& conflict : Records<Dhcp6ConflictIp>(dhcp6s_cfg.conflicts.head)) {
    fprintf(out, "         %-39s  %-20s\n", Ip6Text(conflict.ip6).c_str(), dhcp::base::DateText(conflict.time).c_str());
  }
  fputc('\n', out);
}

}  // namespace

int show_dhcp6_server_conf(char* path, int a, int b) { return dhcp::base::write_report(path, a, b, write_pools); }

int show_dhcp6_server_binding(char* path, int a, int b) { return dhcp::base::write_report(path, a, b, write_bindings); }

int show_dhcp6_server_conflict(char* path, int a, int b) {
  return dhcp::base::write_report(path, a, b, write_conflicts);
}
