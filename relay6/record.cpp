#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "base/port_list.h"
#include "base/services.h"
#include "dhcp/trap.h"
#include "relay6/relay6.h"

Dhcp6RelayConfig gDhcp6Relay = {
    .status = {0},
    .send_buf = nullptr,
    .ifname = "eth0",
    .dev_mac = {},
    .dev_mac_valid = 0,
    .server_count = 0,
    .server_list = {&gDhcp6Relay.server_list, &gDhcp6Relay.server_list},
    .server_busy = {0},
    .info_count = {0},
    .info_table = {},
    .port_count = 0,
    .port_users = {0},
    .port_list = nullptr,
};

namespace dhcp::relay6 {

namespace {

/// What init makes anew.
void release() {
  destinations().clear();
  delete[] std::exchange(gDhcp6Relay.send_buf, nullptr);
  if (gDhcp6Relay.port_list != nullptr) intf_order_list_free_node(std::exchange(gDhcp6Relay.port_list, nullptr));
  gDhcp6Relay.port_count = 0;
}

}  // namespace

Destinations destinations() { return {gDhcp6Relay.server_list, gDhcp6Relay.server_count, gDhcp6Relay.server_busy}; }

}  // namespace dhcp::relay6

bool dhcp::base::relay6_on() { return gDhcp6Relay.status.load() != 0; }

void init_dhcp6_relay_cfg() {
  using namespace dhcp;
  gDhcp6Relay.server_busy.store(0);
  relay6::release();
  snprintf(gDhcp6Relay.ifname, sizeof gDhcp6Relay.ifname, "eth0");
  gDhcp6Relay.send_buf = new (std::nothrow) uint8_t[DHCP6_RELAY_BUFFER_SIZE]();
  if (gDhcp6Relay.send_buf == nullptr) {
    DHCP_LOG_AT(base::module_frame, relay6::log_name, "dhcp6 relay malloc buf failed!%s\r\n", strerror(errno));
    printf("dhcp6 relay malloc buf failed!%s\r\n", strerror(errno));
    return;
  }
  gDhcp6Relay.port_users.store(0);
  gDhcp6Relay.port_list = base::make_physical_port_list(gDhcp6Relay.port_count);
}

void exit_dhcp6_relay_cfg() {
  dhcp6_relay_start_stop(0);
  dhcp::relay6::release();
  dhcp::relay6::clear_clients();
}

int get_dhcp6_relay_start(int* out) {
  *out = gDhcp6Relay.status.load();
  return 0;
}

int dhcp6_relay_start_stop(int on) {
  using namespace dhcp;
  const auto wanted = static_cast<uint8_t>(on);
  if (wanted == gDhcp6Relay.status.load()) return 0;
  // Relay and server answer the same frames: only one of them may be on.
  if (wanted != 0 && base::server6_on()) return -1;
  // Snooping has brought the frames to the CPU already, and still needs them there.
  if (!base::snooping6_on()) wanted != 0 ? open_dhcp6_cpu() : close_dhcp6_cpu();
  gDhcp6Relay.status.store(wanted);
  return 0;
}

int set_dhcp6_relay_start(int on) {
  constexpr int refused = -84;
  return dhcp6_relay_start_stop(on) == 0 ? 0 : refused;
}
