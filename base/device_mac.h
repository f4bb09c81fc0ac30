/// The device's own MAC as the records keep it: asked for once, then remembered.
#pragma once

#include <cstdint>

#include "platform/sysmng.h"

namespace dhcp::base {

/// Fills `mac` from interface `ifname` unless `valid` says that it is known. False when the device cannot tell: then a
/// frame must not leave, for its source would be zeros.
inline bool know_device_mac(const char* ifname, uint8_t (&mac)[6], int32_t& valid) {
  if (valid == 1) return true;
  if (get_dev_mac(ifname, mac) != 0) return false;
  valid = 1;
  return true;
}

}  // namespace dhcp::base
