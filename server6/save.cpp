/// The configuration as command lines, in the order in which they can be typed again. Pools are written newest first,
/// so restored ones come in the other order; what a pool lists keeps its order.
#include "base/text.h"
#include "platform/text.h"
#include "server6/server6.h"

using namespace dhcp::server6;
using dhcp::base::Ip6Text;

namespace {

void save_network(FILE* out, const Dhcp6Pool& pool) {
  if (!has_network(pool)) return;
  if (pool.prefix_len != 0) {
    fprintf(out, "network-address %s %d\r\n", Ip6Text(pool.start).c_str(), pool.prefix_len);
  } else {
    fprintf(out, "network-address %s %s\r\n", Ip6Text(pool.start).c_str(), Ip6Text(pool.end).c_str());
  }
}

/// A lifetime in seconds, or the word for one without end.
class LifetimeText {
 public:
  explicit LifetimeText(uint32_t seconds) {
    snprintf(text_, sizeof text_, seconds == infinite_lifetime ? "infinity" : "%u", seconds);
  }
  const char* c_str() const { return text_; }

 private:
  char text_[12];
};

/// The default goes without saying, and so does what has not been set at all.
void save_lifetimes(FILE* out, const Dhcp6Pool& pool) {
  if (pool.valid == 0 || (pool.preferred == default_preferred_s && pool.valid == default_valid_s)) return;
  fprintf(out, "lifetime %s %s\r\n", LifetimeText(pool.preferred).c_str(), LifetimeText(pool.valid).c_str());
}

void save_pool(FILE* out, const Dhcp6Pool& pool) {
  fprintf(out, "ipv6 dhcp pool %d\r\n", static_cast<int>(pool.pool_id));
  save_network(out, pool);
  save_lifetimes(out, pool);
  for (int i = 0; i < pool.domain_count; ++i) fprintf(out, "domain-name %s\r\n", pool.domain[i]);
  for (int i = 0; i < pool.dns_count; ++i) fprintf(out, "dns-server %s\r\n", Ip6Text(pool.dns[i]).c_str());
  for (int i = 0; i < pool.exclude_count; ++i) {
    fprintf(out, "excluded-address %s\r\n", Ip6Text(pool.exclude[i]).c_str());
  }
  for (int i = 0; i < pool.host_count; ++i) {
    char mac[18];
    fprintf(out, "static-binding %s %s\r\n", onu_mac2str(pool.host[i].mac, mac), Ip6Text(pool.host[i].ip6).c_str());
  }
  fputs("exit\r\n", out);
}

}  // namespace

int onu_dhcp6_server_save(FILE* stream) {
  const PoolsLock lock;
  if (dhcp6s_cfg.enabled != 0) fputs("service dhcpv6-server\r\n", stream);
  for (const Dhcp6Pool& pool : pools()) save_pool(stream, pool);
  return 0;
}
