/* platform/sysmng.h, platform/text.h and platform/log.h: one VLAN with one address, and small things. */
#include <arpa/inet.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "device.h"
#include "platform/log.h"
#include "platform/sysmng.h"
#include "platform/text.h"

const uint8_t example_mac[6] = {0x02, 0, 0, 0, 0, 0x01};

int sysmng_vlan_get(int kind, struct sysmng_vlan_list* out) {
  (void)kind;
  out->count = 1;
  out->vid[0] = EXAMPLE_VLAN;
  return 0;
}

int sysmng_vlan_info_get(uint32_t vlan, struct sysmng_vlan_info* out) {
  if (vlan != EXAMPLE_VLAN) return 0;
  memset(out, 0, sizeof *out);
  out->vlan = vlan;
  out->ip = EXAMPLE_ADDRESS;
  out->mask = EXAMPLE_NETMASK;
  return 1;
}

int sysmng_vlan_is_mng_vlan(uint32_t vlan) { return vlan == EXAMPLE_VLAN; }
int sysmng_get_vlan_by_ipaddr(uint32_t ip) { return ip == EXAMPLE_ADDRESS ? EXAMPLE_VLAN : 0; }
int sysmng_get_vlan_by_ip6addr(const uint8_t ip6[16]) { return (void)ip6, 0; }

int sysmng_vlan_static_ip6addr(uint32_t vlan, const char* addr_slash_len, int on) {
  (void)vlan, (void)addr_slash_len, (void)on;
  return -1;
}

int sysmng_get_mac(char text[18]) { return onu_mac2str(example_mac, text), 0; }

int get_dev_mac(const char* ifname, uint8_t mac[6]) {
  (void)ifname;
  memcpy(mac, example_mac, sizeof example_mac);
  return 0;
}

int get_vlan_valid(uint32_t vlan, int kind) {
  (void)kind;
  return vlan == EXAMPLE_VLAN ? 0 : -1;
}

int get_mac_aging_time(uint32_t* seconds) { return *seconds = 300, 0; }
int probe_dynamic_get_ip_dev_change(void) { return 0; }

char* onu_mac2str(const uint8_t mac[6], char text[18]) {
  snprintf(text, 18, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
  return text;
}

int onu_str2mac(const char* text, uint8_t mac[6]) {
  unsigned part[6];
  if (sscanf(text, "%2x:%2x:%2x:%2x:%2x:%2x", &part[0], &part[1], &part[2], &part[3], &part[4], &part[5]) != 6)
    return -1;
  for (int i = 0; i < 6; ++i) mac[i] = (uint8_t)part[i];
  return 0;
}

const char* str_enable(int on) { return on ? "enable" : "disable"; }

const char* str_intf_id(uint32_t intf) {
  static _Thread_local char text[16];
  snprintf(text, sizeof text, "Gi%u", (unsigned)intf);
  return text;
}

int strtoip6(const char* text, uint8_t ip6[16]) {
  char address[INET6_ADDRSTRLEN] = "";
  const size_t length = strcspn(text, "/");
  if (length >= sizeof address) return -1;
  memcpy(address, text, length);
  return inet_pton(AF_INET6, address, ip6) == 1 ? 0 : -1;
}

uint16_t cksum(const void* buf, int len) {
  const uint8_t* bytes = buf;
  uint32_t sum = 0;
  for (int i = 0; i < len; ++i) sum += i % 2 == 0 ? (uint32_t)bytes[i] << 8 : bytes[i];
  while (sum > 0xffff) sum = (sum & 0xffff) + (sum >> 16);
  return (uint16_t)~sum;
}

int get_tmp_file_name(int kind, char* path, int a, int b) {
  (void)kind, (void)a, (void)b;
  strcpy(path, "/tmp/minimal-XXXXXX");
  const int file = mkstemp(path);
  return file < 0 ? -1 : close(file);
}

int Log_logging_func(int level, int module, const char* name, const char* fmt, ...) {
  (void)level, (void)module, (void)name, (void)fmt;
  return 0;
}

int sys_trace_get(void) { return 0; }

int sys_trace_add_log(const char* location, const char* message) {
  (void)location, (void)message;
  return 0;
}
