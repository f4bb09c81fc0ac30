/// Init, start, stop, list.
#include <mqueue.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "base/log.h"
#include "base/packet_socket.h"
#include "dhcp/relay.h"
#include "dhcp/relay6.h"
#include "dhcp/server.h"
#include "dhcp/server6.h"
#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "module/module.h"

namespace {

using dhcp::base::module_frame;
using dhcp::module::tasks;

constexpr uint32_t not_running = 0xffffffff;
constexpr const char* stale_queue = "/dhcp_event_queue";

void release_buffer() { delete[] std::exchange(dhcpr_cfg.send_buf, nullptr); }

void close_socket() {
  const int socket = std::exchange(dhcpr_cfg.send_sock, -1);
  if (socket >= 0) close(socket);
}

bool make_buffer() {
  dhcpr_cfg.send_buf = new (std::nothrow) uint8_t[DHCPR_BUFFER_SIZE]();
  if (dhcpr_cfg.send_buf != nullptr) return true;
  DHCP_LOG_AT(module_frame, "dhcpc", "dhcpr malloc buf failed!%s\r\n", strerror(errno));
  printf("dhcpr malloc buf failed!%s\r\n", strerror(errno));
  return false;
}

bool open_raw_socket() {
  dhcpr_cfg.send_sock = dhcp::base::open_idle_packet_socket();
  if (dhcpr_cfg.send_sock >= 0) return true;
  DHCP_LOG_AT(module_frame, "dhcpc", "send raw socket create failed!%s\r\n", strerror(errno));
  printf("send raw socket create failed!%s\r\n", strerror(errno));
  return false;
}

/// What the services begin with; each says so by the list or buffer that it has.
bool begin_services() {
  init_DHCPR_cfg();
  init_DHCPS_cfg();
  init_dhcp6_relay_cfg();
  init_DHCP6S_cfg();
  if (dhcpr_cfg.port_list != nullptr && dhcps_cfg.ports != nullptr && gDhcp6Relay.port_list != nullptr) return true;
  exit_DHCPR_cfg();
  exit_dhcp6_relay_cfg();
  return false;
}

}  // namespace

int dhcp_module_init() {
  release_buffer();
  close_socket();
  if (!make_buffer()) return -1;
  if (!open_raw_socket()) {
    release_buffer();
    return -1;
  }
  mq_unlink(stale_queue);
  if (begin_services()) return 0;
  close_socket();
  release_buffer();
  return -1;
}

int dhcp_module_start() {
  for (ModuleTaskEntry& row : tasks()) {
    // A task that does not start stops the module; those after it are started all the same.
    if (stask_start(&row, 0) < 0) dhcp_module_stop();
  }
  return 0;
}

int dhcp_module_stop() {
  // The buffer goes out of sight first and is freed last: a task may still be at work with it.
  const std::unique_ptr<uint8_t[]> buffer(std::atomic_ref<uint8_t*>(dhcpr_cfg.send_buf).exchange(nullptr));
  close_socket();
  for (ModuleTaskEntry& row : tasks()) {
    if (row.tid != not_running) stask_stop(&row);
  }
  exit_dhcp_snooping();
  exit_dhcp6_snooping();
  exit_DHCPR_cfg();
  return 0;
}

int dhcp_module_list() {
  for (const ModuleTaskEntry& row : tasks()) {
    if (row.tid == not_running) continue;
    printf("\t%12s \ttid=%04lu, pid=%04d\n", row.name, static_cast<unsigned long>(row.tid), row.pid);
  }
  return 0;
}

char* util_ip2str(uint32_t addr) {
  static thread_local char text[16];
  snprintf(text, sizeof text, "%u.%u.%u.%u", addr >> 24, addr >> 16 & 0xff, addr >> 8 & 0xff, addr & 0xff);
  return text;
}
