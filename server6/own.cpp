#include "server6/own.h"

#include "base/device_mac.h"

namespace dhcp::server6 {

namespace {

struct KnownMac {
  uint8_t mac[6];
  int32_t valid;
};

KnownMac known;

}  // namespace

std::optional<base::MacAddress> own_mac() {
  if (!base::know_device_mac("eth0", known.mac, known.valid)) return std::nullopt;
  return base::MacAddress::from(known.mac);
}

void forget_own_mac() { known.valid = 0; }

}  // namespace dhcp::server6
