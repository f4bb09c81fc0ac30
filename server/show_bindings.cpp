/// Display of the leases: acknowledged bindings with the time that is left to them.
#include <algorithm>

#include "base/os.h"
#include "base/report.h"
#include "base/text.h"
#include "base/time_text.h"
#include "server/server.h"

using namespace dhcp::server;

namespace {

/// The identifier as a hardware address or, when its type is 0, as the client's own text.
void write_client(FILE* out, const DhcpBinding& binding) {
  const uint8_t* id = binding.client_id;
  if (binding.id_type == 0) {
    const int length = std::min<int>(binding.id_len, DHCPS_CLIENT_ID_SIZE);
    fprintf(out, " %-8s %-18.*s", "ClientId", length, reinterpret_cast<const char*>(id));
    return;
  }
  char mac[18];
  snprintf(mac, sizeof mac, "%02x:%02x:%02x:%02x:%02x:%02x", id[0], id[1], id[2], id[3], id[4], id[5]);
  fprintf(out, " %-8s %-18s", "Ethernet", mac);
}

/// A lease that has run out but is not aged yet reads "infinite" as well.
void write_remaining(FILE* out, uint32_t expire, uint32_t now) {
  const uint32_t left = expire - now;
  const bool ends = expire != infinite_lease && static_cast<int32_t>(left) >= 0;
  fprintf(out, " %-12s\n", ends ? dhcp::base::TimeLeftText(left).c_str() : "infinite");
}

void write_binding(FILE* out, const DhcpBinding& binding, uint32_t now) {
  fprintf(out, "         %-15s", dhcp::base::IpText(binding.ip).c_str());
  write_client(out, binding);
  write_remaining(out, binding.expire, now);
}

void write_bindings(FILE* out) {
  const ServerLock lock;
  const dhcp::base::BusyGuard busy(dhcps_cfg.bindings.busy);
  const uint32_t now = dhcp::base::now32();
  int total = 0;
  fprintf(out, "\n         %-15s %-8s %-18s %-12s \n", "ip address", "hw type", "hw address", "  expire time");
  fprintf(out, "         %-15s %-8s %-18s %-12s  \n", "----------", "-------", "----------", "---------------");
  for (const DhcpBinding& binding : dhcp::base::Records<DhcpBinding>(dhcps_cfg.bindings.head)) {
    if (binding.state != DHCPS_ACKNOWLEDGED) continue;
    write_binding(out, binding, now);
    ++total;
  }
  fputs("-------------------------------------------------------------------------------\r\n", out);
  fprintf(out, "Total : %d \r\n\n", total);
}

}  // namespace

int show_dhcp_server_binding(char* path, int a, int b) { return dhcp::base::write_report(path, a, b, write_bindings); }
