/// IP source guard, ARP check, IGMP snooping: recorded by name and interface.
#include "platform/security.h"
#include "tests/fake/device.h"

namespace {

int told(const char* what, uint32_t intf) {
  fake::device().call(what + std::string("(") + std::to_string(intf) + ")");
  return 0;
}

}  // namespace

uint8_t arpr_cfg[2126];

int ipsg_add_port(uint32_t intf) { return told("ipsg_add_port", intf); }
int ipsg_del_port(uint32_t intf) { return told("ipsg_del_port", intf); }
int ipsg_port_change_action() { return told("ipsg_port_change_action", 0); }
