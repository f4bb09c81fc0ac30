#include "bench/null_device.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/os.h"
#include "packet/nic.h"
#include "platform/adp.h"
#include "platform/log.h"
#include "platform/queue.h"
#include "platform/security.h"
#include "platform/sysmng.h"
#include "platform/task.h"
#include "platform/text.h"

namespace dhcp::bench {

NullDevice null_device;

namespace {

/// Index of a VLAN of ours, or -1.
int vlan_index(uint32_t vlan) {
  const auto* found = std::find(std::begin(NullDevice::vlans), std::end(NullDevice::vlans), vlan);
  return found == std::end(NullDevice::vlans) ? -1 : static_cast<int>(found - std::begin(NullDevice::vlans));
}

int query_interface(int, unsigned long request, ifreq* answer) {
  constexpr size_t prefix = sizeof "eth0." - 1;
  const int index = vlan_index(static_cast<uint32_t>(strtoul(answer->ifr_name + prefix, nullptr, 10)));
  if (request == SIOCGIFADDR) {
    if (index < 0) return -1;
    sockaddr_in address{};
    address.sin_addr.s_addr = htonl(NullDevice::vlan_ips[index]);
    memcpy(&answer->ifr_addr, &address, sizeof address);
  } else {
    memcpy(answer->ifr_hwaddr.sa_data, NullDevice::mac, sizeof NullDevice::mac);
  }
  return 0;
}

}  // namespace

void use_null_device() {
  base::os = {[] { return null_device.now; }, [](uint32_t) { abort(); }, query_interface,
              [](int, int, int) { return -1; }};
  base::os.ticks_us = [] { return null_device.ticks_us += packet::own_nic_serves_us; };  // every question is asked
}

}  // namespace dhcp::bench

using dhcp::bench::null_device;
using dhcp::bench::NullDevice;

int __adp_receive_frame(skpack*, int) { return 0; }

int __adp_transmit_frame(skpack* skp, intf_order_list* ports, uint32_t vlan, int mode) {
  ++null_device.frames_sent;
  if (null_device.on_frame != nullptr) null_device.on_frame({skp->data, skp->psize}, ports, vlan, mode);
  return 0;
}

void skpack_release(skpack*) {}
int adp_fp_add_entity_action(adp_fp_entity*, int, uint32_t) { return 0; }
int adp_fp_add_entity_qualify(adp_fp_entity*, int, const void*, const void*, int) { return 0; }
int adp_fp_add_entity_rule(uint32_t, uint32_t, const adp_fp_entity*) { return 0; }
int adp_fp_delete_entity_rule(uint32_t, uint32_t) { return 0; }
int adp_get_max_phy_port_num() { return 28; }

int adp_get_intf_by_addr(const uint8_t*, uint32_t, uint32_t* intf) {
  *intf = NullDevice::learnt_port;
  return null_device.macs_known ? 0 : -1;
}

int port_in_aggport(uint32_t, uint32_t*) { return -1; }
int user_cosq_mapping_get(int, int* cos) { return *cos = 0; }
int user_rx_cos_rate_set(int, int) { return 0; }

int Log_logging_func(int, int, const char*, const char*, ...) {
  ++null_device.log_lines;
  return 0;
}

int sys_trace_get() { return 0; }
int sys_trace_add_log(const char*, const char*) { return 0; }

equeue_t* equeue_make_extend(const char*, int, int, uint32_t) { return nullptr; }
int equeue_recv(equeue_t*, DhcpEvent*, int) { return -1; }
int equeue_proc_finished_data(DhcpEvent*) { return 0; }
int equeue_close(equeue_t*) { return 0; }

int ipsg_add_port(uint32_t) { return 0; }
int ipsg_del_port(uint32_t) { return 0; }
int ipsg_port_change_action() { return 0; }
int add_port_ipsg_entry(const ipsg_entry*) { return 0; }
int del_port_ipsg_entry(const ipsg_entry*) { return 0; }
int arp_add_entry_to_list(const arp_entry*) { return 0; }
int arp_del_entry_to_list(const arp_entry*) { return 0; }
int sync_add_arp_check_entry(const uint8_t*, uint32_t, uint32_t, int) { return 0; }
int sync_del_arp_check_entry(const uint8_t*, uint32_t, uint32_t) { return 0; }
int sync_add_igsp_entry(const uint8_t*, uint32_t, uint32_t, int, int) { return 0; }
int arp_get_check_port_status(uint32_t) { return 0; }
uint8_t arpr_cfg[2128];

int sysmng_vlan_get(int, sysmng_vlan_list* out) {
  out->count = 0;
  for (const uint16_t vlan : NullDevice::vlans) out->vid[out->count++] = vlan;
  return 0;
}

int sysmng_vlan_info_get(uint32_t vlan, sysmng_vlan_info* out) {
  const int index = dhcp::bench::vlan_index(vlan);
  if (index < 0) return 0;
  *out = {};
  out->vlan = vlan;
  out->ip = NullDevice::vlan_ips[index];
  out->mask = NullDevice::mask;
  out->prefix6 = NullDevice::prefix6;
  strncpy(out->ip6, NullDevice::vlan_ip6s[index], sizeof out->ip6 - 1);
  return 1;
}
int sysmng_vlan_is_mng_vlan(uint32_t vlan) { return dhcp::bench::vlan_index(vlan) >= 0 ? 1 : 0; }

int sysmng_get_vlan_by_ipaddr(uint32_t ip) {
  if (ip != 0 && ip == null_device.another_ip) return NullDevice::vlans[0];
  for (size_t index = 0; index < std::size(NullDevice::vlans); ++index) {
    if (NullDevice::vlan_ips[index] == ip) return NullDevice::vlans[index];
  }
  return 0;
}

int sysmng_get_vlan_by_ip6addr(const uint8_t*) { return 0; }
int sysmng_vlan_static_ip6addr(uint32_t, const char*, int) { return 0; }
int sysmng_get_mac(char text[18]) { return text[0] = 0; }
int get_dev_mac(const char*, uint8_t mac[6]) { return memcpy(mac, NullDevice::mac, 6), 0; }
int get_vlan_valid(uint32_t, int) { return 0; }
int get_mac_aging_time(uint32_t* seconds) { return *seconds = 300, 0; }
int probe_dynamic_get_ip_dev_change() { return 0; }

int stask_start(ModuleTaskEntry*, int) { return -1; }
int stask_stop(ModuleTaskEntry*) { return 0; }
int stask_notify_creater(ModuleTaskEntry*, int) { return 0; }

char* onu_mac2str(const uint8_t* mac, char* text) {
  snprintf(text, 18, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
  return text;
}

int onu_str2mac(const char*, uint8_t*) { return -1; }
const char* str_enable(int on) { return on != 0 ? "enable" : "disable"; }
const char* str_intf_id(uint32_t) { return "Gi1"; }
int strtoip6(const char* text, uint8_t* ip6) { return inet_pton(AF_INET6, text, ip6) == 1 ? 0 : -1; }

uint16_t cksum(const void* buf, int len) {
  const auto* bytes = static_cast<const uint8_t*>(buf);
  uint32_t sum = 0;
  for (; len > 1; len -= 2, bytes += 2) sum += static_cast<uint32_t>(bytes[0] << 8 | bytes[1]);
  if (len == 1) sum += static_cast<uint32_t>(bytes[0]) << 8;
  while (sum > 0xffff) sum = (sum >> 16) + (sum & 0xffff);
  return static_cast<uint16_t>(~sum);
}

int get_tmp_file_name(int, char* path, int, int) { return snprintf(path, 128, "/dev/null"); }
