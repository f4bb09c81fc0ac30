/// The device's management calls: VLANs, VLAN interfaces, addresses.
#include "platform/sysmng.h"

#include <net/if.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "platform/text.h"
#include "softswitch/fabric.h"
#include "softswitch/net_config.h"
#include "softswitch/vlan_interfaces.h"

using namespace dhcp::softswitch;

namespace {

constexpr int layer3_vlans = 2;

bool vlan_exists(uint32_t vlan) {
  return fabric().with([=](FabricState& s) { return s.bridge.vlans.exists(vlan); });
}

}  // namespace

int sysmng_vlan_get(int kind, sysmng_vlan_list* out) {
  out->count = 0;
  if (kind == layer3_vlans) {
    for (const VlanInterface& interface : vlan_interfaces().list()) out->vid[out->count++] = interface.vlan;
  } else {
    for (const uint16_t vlan : fabric().with([](FabricState& s) { return s.bridge.vlans.list(); }))
      out->vid[out->count++] = vlan;
  }
  return 0;
}

int sysmng_vlan_info_get(uint32_t vlan, sysmng_vlan_info* out) { return vlan_interfaces().find(vlan, *out) ? 1 : 0; }

int sysmng_vlan_is_mng_vlan(uint32_t vlan) { return vlan_interfaces().exists(vlan) ? 1 : 0; }

int sysmng_get_vlan_by_ipaddr(uint32_t ip) { return static_cast<int>(vlan_interfaces().vlan_of(ip)); }

int sysmng_get_vlan_by_ip6addr(const uint8_t ip6[16]) { return static_cast<int>(vlan_interfaces().vlan_of(ip6)); }

int sysmng_vlan_static_ip6addr(uint32_t vlan, const char* addr_slash_len, int on) {
  if (vlan > max_vlan || (on != 0 && addr_slash_len == nullptr)) return -1;
  std::string wanted = on != 0 ? addr_slash_len : "";
  // A length that no server has told makes no on-link prefix (RFC 8415 section 18.2.10.1): a host's address alone.
  if (wanted.ends_with("/0")) wanted.replace(wanted.size() - 1, 1, "128");
  return vlan_interfaces().set_leased_ip6(static_cast<uint16_t>(vlan), wanted) ? -1 : 0;
}

int sysmng_get_mac(char text[18]) {
  const auto mac = fabric().with([](FabricState& s) { return s.bridge.cpu_mac; });
  onu_mac2str(mac.data(), text);
  return 0;
}

int get_dev_mac(const char* ifname, uint8_t mac[6]) {
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  ifreq request{};
  std::snprintf(request.ifr_name, sizeof request.ifr_name, "%s", ifname);
  const int result = ioctl(fd, SIOCGIFHWADDR, &request);
  close(fd);
  if (result != 0) return -1;
  std::memcpy(mac, request.ifr_hwaddr.sa_data, mac_size);
  return 0;
}

int get_vlan_valid(uint32_t vlan, int kind) {
  if (vlan == 0 || vlan > max_vlan) return -1;
  return kind != 2 || vlan_exists(vlan) ? 0 : -1;
}

int get_mac_aging_time(uint32_t* seconds) {
  *seconds = fabric().with([](FabricState& s) { return s.bridge.ageing_s; });
  return 0;
}

int probe_dynamic_get_ip_dev_change() { return 0; }  // no interface of this switch gets its IPv4 address by itself
