/// Display of the server's status and of its pools.
#include "base/report.h"
#include "base/text.h"
#include "packet/bytes.h"
#include "platform/text.h"
#include "server/pool_call.h"

using namespace dhcp::server;
using dhcp::base::IpText;
using dhcp::base::Records;

namespace {

void line(FILE* out, const char* name, const char* value) { fprintf(out, "%-30s : %s\n", name, value); }
void line(FILE* out, const char* name, uint32_t ip) { line(out, name, IpText(ip).c_str()); }

void write_status(FILE* out) { fprintf(out, "\n%-30s : %s \n\n", "server status", str_enable(dhcps_cfg.enable)); }

void write_lease(FILE* out, uint32_t lease) {
  if (lease == infinite_lease) {
    line(out, "lease time", "infinite");
  } else {
    fprintf(out, "%-30s : %d secs\n", "lease time", static_cast<int>(lease));
  }
}

void write_addresses(FILE* out, const char* name, const DhcpPoolList& addresses) {
  if (addresses.count == 0) return;
  fprintf(out, "%-30s : ", name);
  for (const DhcpIpNode& node : Records<DhcpIpNode>(addresses.head)) fprintf(out, "%s ", IpText(node.ip).c_str());
  fputc('\n', out);
}

void write_option(FILE* out, const DhcpPoolOption& option) {
  char name[16];
  snprintf(name, sizeof name, "option-%d", option.code);
  if (option.type == DHCPS_OPTION_IP) {
    line(out, name, dhcp::packet::load_be32(option.value));
  } else if (option.type == DHCPS_OPTION_HEX) {
    fprintf(out, "%-30s : 0x", name);
    for (unsigned i = 0; i < option.len; ++i) fprintf(out, "%02x", option.value[i]);
    fputc('\n', out);
  } else {
    fprintf(out, "%-30s : %.*s\n", name, option.len, reinterpret_cast<const char*>(option.value));
  }
}

void write_pool(FILE* out, const DhcpPool& pool) {
  fprintf(out, "\n%-30s : %d\n", "pool id", static_cast<int>(pool.pool_id));
  fputs("-------------------------------------------\n", out);
  line(out, "network", pool.network);
  line(out, "netmask", pool.netmask);
  write_lease(out, pool.lease);
  line(out, "start ip", pool.start_ip);
  line(out, "end ip", pool.end_ip);
  if (pool.domain_name != nullptr) line(out, "domain name", pool.domain_name);
  write_addresses(out, "default router", pool.routers);
  write_addresses(out, "dns server", pool.dns_servers);
  for (const DhcpPoolOption& option : Records<DhcpPoolOption>(pool.options.head)) write_option(out, option);
}

void write_boot_lines(FILE* out, const DhcpPool& pool) {
  if (pool.server_name != nullptr) line(out, "Tftp Server name", pool.server_name);
  if (pool.boot_file == nullptr) return;
  line(out, "Boot file name", pool.boot_file);
  fprintf(out, "%-30s : %d\n", "Boot file name size", pool.boot_file_size);
}

}  // namespace

int show_dhcp_server_conf(char* path, int a, int b) {
  return dhcp::base::write_report(path, a, b, [](FILE* out) {
    const PoolsLock lock;
    write_status(out);
    for (const DhcpPool& pool : pools()) write_pool(out, pool);
    fputc('\n', out);
  });
}

int show_dhcp_server_conf_pool(char* path, int pool_id, int b) {
  return dhcp::base::write_report(path, pool_id, b, [pool_id](FILE* out) {
    const PoolCall pool(static_cast<uint32_t>(pool_id));
    write_status(out);
    if (pool) {
      write_pool(out, *pool);
      write_boot_lines(out, *pool);
    }
    fputc('\n', out);
  });
}
