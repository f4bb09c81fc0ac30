/// The two requests that only rtnetlink can make: a veth pair, and its end.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace dhcp::softswitch {

/// Empty = done, otherwise the kernel's reason.
std::string netlink_create_pair(const std::string& name, const std::string& peer, const std::array<uint8_t, 6>& mac);
std::string netlink_delete(const std::string& name);

}  // namespace dhcp::softswitch
