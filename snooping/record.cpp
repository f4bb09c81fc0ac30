/// The service's record, its beginning and its end.
#include "snooping/record.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <utility>

#include "base/log.h"
#include "base/packet_socket.h"
#include "base/port_list.h"
#include "base/services.h"
#include "base/text.h"
#include "snooping/ageing.h"
#include "snooping/bindings.h"
#include "snooping/counters.h"
#include "snooping/database.h"

DhcpSnoopConfig g_dhcp_snooping;

namespace dhcp::snooping {

namespace {

std::atomic<bool> ready{false};

void close_raw_socket() {
  const int socket = std::exchange(g_dhcp_snooping.raw_socket, -1);
  if (socket >= 0) close(socket);
}

void free_verify_macs() {
  for (MacVerifyStruct*& bucket : g_dhcp_snooping.verify_bucket) {
    while (bucket != nullptr) del_MacVerifyStruct(bucket->mac);
  }
}

/// Switches the service off and frees all that hangs from the record.
void tear_down() {
  __set_dhcp_snoop_switch(0);
  close_raw_socket();
  delete_DhcpServerInfo_list();
  free_verify_macs();
  bindings.free_all();
  free_sub_options();
  interfaces.free_all();
}

/// Every setting as it is before the host has said anything.
void set_defaults() {
  DhcpSnoopConfig& record = g_dhcp_snooping;
  std::fill(std::begin(record.vlan_bitmap), std::end(record.vlan_bitmap), uint8_t{0});
  std::fill(std::begin(record.dev_mac), std::end(record.dev_mac), uint8_t{0});
  record.dev_mac_valid = 0;
  record.limit = 0;
  record.verify_enable = 0;
  record.allow_untrust_option82 = 1;
  record.option82_enable = 0;
  record.min_lease = 0;
  record.writeflash_enable = record.writeflash_interval = 0;
  restart_ageing();
  restart_database();
  forget_rogue();
  frame_counts.view().clear();
}

/// Host calls may come before the service's own beginning: the lists are there from the moment the library is loaded.
[[maybe_unused]] const bool made_at_load = [] {
  bindings.reset();
  base::list_init(g_dhcp_snooping.sub_option_list);
  g_dhcp_snooping.raw_socket = -1;
  g_dhcp_snooping.allow_untrust_option82 = 1;
  return true;
}();

}  // namespace

bool initialised() { return ready.load(); }

}  // namespace dhcp::snooping

namespace dhcp::base {

bool snooping_on() { return g_dhcp_snooping.enable.load() != 0; }

}  // namespace dhcp::base

int init_dhcp_snooping() {
  using namespace dhcp::snooping;
  const SnoopingLock lock;
  ready.store(false);
  tear_down();
  set_defaults();
  if (!interfaces.make(dhcp::base::make_port_list<IntfNode>)) return -1;
  g_dhcp_snooping.raw_socket = dhcp::base::open_idle_packet_socket();
  ready.store(true);
  DHCP_LOG_AT(dhcp::base::module_service, "DHCPS_init", "dhcp snooping init over");
  return 0;
}

int exit_dhcp_snooping() {
  using namespace dhcp::snooping;
  const SnoopingLock lock;
  ready.store(false);
  tear_down();
  return 0;
}

char* dhcp_snooping_ip2ipstr(uint32_t ip) {
  static thread_local char text[16];
  snprintf(text, sizeof text, "%s", dhcp::base::IpText(ip).c_str());
  return text;
}
