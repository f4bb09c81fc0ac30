/// Display of the addresses that are not handed out freely: conflicts, excluded ranges, static hosts.
#include "base/report.h"
#include "base/text.h"
#include "base/time_text.h"
#include "platform/text.h"
#include "server/pool_call.h"

using namespace dhcp::server;
using dhcp::base::BusyGuard;
using dhcp::base::DateText;
using dhcp::base::IpText;
using dhcp::base::Records;

namespace {

void write_conflict(FILE* out, const DhcpConflictIp& conflict) {
  fprintf(out, "         %-20s  %-20s\n", IpText(conflict.ip).c_str(), DateText(conflict.time).c_str());
}

void write_conflicts(FILE* out) {
  const ServerLock lock;
  const BusyGuard busy(dhcps_cfg.conflicts.busy);
  fprintf(out, "\n         %-20s  %-20s\n", "IP Address", "   Detection Time");
  fprintf(out, "         %-20s  %-20s\n", "----------", "--------------------");
  for (const DhcpConflictIp& conflict : Records<DhcpConflictIp>(dhcps_cfg.conflicts.head)) {
    write_conflict(out, conflict);
  }
  fputc('\n', out);
}

void write_excludes(FILE* out) {
  const ServerLock lock;
  const BusyGuard busy(dhcps_cfg.excludes.busy);
  fprintf(out, "\n         %-16s  %-16s\n", "   start ip", "     end ip");
  fprintf(out, "         %-16s  %-16s\n", "---------------", "---------------");
  for (const DhcpExcludeRange& range : Records<DhcpExcludeRange>(dhcps_cfg.excludes.head)) {
    fprintf(out, "         %-16s", IpText(range.start_ip).c_str());
    fprintf(out, "  %-16s\n", IpText(range.end_ip).c_str());
  }
  fputc('\n', out);
}

void write_hosts_of(FILE* out, const DhcpPool& pool) {
  char mac[18];
  for (const DhcpStaticHost& host : Records<DhcpStaticHost>(pool.hosts.head)) {
    fprintf(out, "         %-8d %-18s %-16s\n", static_cast<int>(pool.pool_id), onu_mac2str(host.mac, mac),
            IpText(host.ip).c_str());
  }
}

void write_hosts(FILE* out) {
  const PoolsLock lock;
  fprintf(out, "         %-8s %-18s %-16s\n", "pool id", " hardware address", "   ip address");
  fprintf(out, "         %-8s %-18s %-16s\n", "--------", "------------------", "----------------");
  for (const DhcpPool& pool : pools()) write_hosts_of(out, pool);
}

}  // namespace

int show_dhcp_server_conflict(char* path, int a, int b) {
  return dhcp::base::write_report(path, a, b, write_conflicts);
}

int show_dhcp_server_exclude(char* path, int a, int b) { return dhcp::base::write_report(path, a, b, write_excludes); }

int show_dhcp_server_host(char* path, int a, int b) { return dhcp::base::write_report(path, a, b, write_hosts); }
