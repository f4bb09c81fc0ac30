/// The configuration as command lines, in the order in which they can be typed again. Lists are written newest first,
/// so a restored pool has its options and hosts, and the server its pools, in the other order.
#include "base/text.h"
#include "packet/bytes.h"
#include "platform/text.h"
#include "server/pool_call.h"

using namespace dhcp::server;
using dhcp::base::IpText;
using dhcp::base::Records;

namespace {

constexpr uint32_t day_s = 86400, hour_s = 3600, minute_s = 60;

void save_network(FILE* out, const DhcpPool& pool) {
  if (pool.network == 0 || pool.netmask == 0) return;
  fprintf(out, "network %s ", IpText(pool.network).c_str());
  fprintf(out, "%s ", IpText(pool.netmask).c_str());
  fprintf(out, "%s ", IpText(pool.start_ip).c_str());
  fprintf(out, "%s\r\n", IpText(pool.end_ip).c_str());
}

/// Whole minutes only: seconds are dropped.
void save_lease(FILE* out, uint32_t lease) {
  if (lease == default_lease_s) return;
  if (lease == infinite_lease) {
    fputs("lease infinite\r\n", out);
    return;
  }
  fprintf(out, "lease %d %d", static_cast<int>(lease / day_s), static_cast<int>(lease % day_s / hour_s));
  const auto minutes = static_cast<int>(lease % hour_s / minute_s);
  if (minutes != 0) fprintf(out, " %d", minutes);
  fputs("\r\n", out);
}

void save_names(FILE* out, const DhcpPool& pool) {
  if (pool.domain_name != nullptr) fprintf(out, "domain-name %s\r\n", pool.domain_name);
  if (pool.server_name != nullptr) fprintf(out, "server-name %s\r\n", pool.server_name);
  if (pool.boot_file != nullptr) fprintf(out, "boot-file-name %s\r\n", pool.boot_file);
  if (pool.boot_file_size != default_boot_file_blocks) fprintf(out, "boot-file-size %d\r\n", pool.boot_file_size);
}

void save_option(FILE* out, const DhcpPoolOption& option) {
  fprintf(out, "option %d ", option.code);
  if (option.type == DHCPS_OPTION_IP) {
    fprintf(out, "ip %s", IpText(dhcp::packet::load_be32(option.value)).c_str());
  } else if (option.type == DHCPS_OPTION_HEX) {
    fputs("hex ", out);
    for (unsigned i = 0; i < option.len; ++i) fprintf(out, "%02x", option.value[i]);
  } else {
    fprintf(out, "ascii %.*s", option.len, reinterpret_cast<const char*>(option.value));
  }
  fputs("\r\n", out);
}

void save_host(FILE* out, const DhcpStaticHost& host) {
  char mac[18];
  fprintf(out, "host %s %s\r\n", onu_mac2str(host.mac, mac), IpText(host.ip).c_str());
}

void save_addresses(FILE* out, const char* command, const DhcpPoolList& addresses) {
  if (addresses.count == 0) return;
  fprintf(out, "%s ", command);
  for (const DhcpIpNode& node : Records<DhcpIpNode>(addresses.head)) fprintf(out, "%s ", IpText(node.ip).c_str());
  fputs("\r\n", out);
}

void save_pool(FILE* out, const DhcpPool& pool) {
  fprintf(out, "ip dhcp pool %d\r\n", static_cast<int>(pool.pool_id));
  save_network(out, pool);
  save_lease(out, pool.lease);
  save_names(out, pool);
  for (const DhcpPoolOption& option : Records<DhcpPoolOption>(pool.options.head)) save_option(out, option);
  for (const DhcpStaticHost& host : Records<DhcpStaticHost>(pool.hosts.head)) save_host(out, host);
  save_addresses(out, "default-router", pool.routers);
  save_addresses(out, "dns-server", pool.dns_servers);
  fputs("exit\r\n", out);
}

void save_excludes(FILE* out) {
  const dhcp::base::BusyGuard busy(dhcps_cfg.excludes.busy);
  for (const DhcpExcludeRange& range : Records<DhcpExcludeRange>(dhcps_cfg.excludes.head)) {
    fprintf(out, "ip dhcp excluded-address %s", IpText(range.start_ip).c_str());
    if (range.end_ip != range.start_ip) fprintf(out, " %s", IpText(range.end_ip).c_str());
    fputs("\r\n", out);
  }
}

}  // namespace

int onu_dhcp_server_save(FILE* stream) {
  const PoolsLock lock;
  if (dhcps_cfg.enable == 1) fputs("ip dhcp-server\r\n", stream);
  for (const DhcpPool& pool : pools()) save_pool(stream, pool);
  save_excludes(stream);
  return 0;
}
