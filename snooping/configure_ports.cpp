/// Trust and suppression of an interface. Frames from untrusted interfaces reach the CPU like all others, to be seen
/// and counted, so the chip needs no rule for either.
#include "base/log.h"
#include "snooping/snooping.h"

using dhcp::base::module_service;
using dhcp::snooping::interfaces;
using dhcp::snooping::SnoopingLock;

int set_dhcp_snoop_trust(int trust, uint32_t intf) {
  const SnoopingLock lock;
  SnoopIntfEntry* port = interfaces.find(intf);
  if (port == nullptr) {
    DHCP_LOG_AT(module_service, "DHCPS_port", "the port 0x%x is not exist", intf);
    return -1;
  }
  const int wanted = trust != 0 ? 1 : 0;
  if (port->trust == wanted) return 0;
  port->trust = wanted;
  DHCP_LOG_AT(module_service, "DHCPS_port", "set 0x%x dhcp snooping %s port", intf, wanted != 0 ? "trust" : "untrust");
  return 0;
}

int set_dhcp_snoop_suppression(int open, uint32_t intf) {
  const SnoopingLock lock;
  SnoopIntfEntry* port = interfaces.find(intf);
  if (port == nullptr) {
    DHCP_LOG_AT(module_service, "DHCPS_suppresion", "the port 0x%x is not exist", intf);
    return -1;
  }
  port->suppression = open != 0 ? 1 : 0;
  DHCP_LOG_AT(module_service, "DHCPS_suppresion", "%s the port 0x%x suppresion function", open != 0 ? "open" : "close",
              intf);
  return 0;
}
