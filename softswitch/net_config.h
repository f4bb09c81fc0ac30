/// Linux interfaces, addresses and routes, as the switch sets them up for its ports and its CPU side.
///
/// Every function returns an empty text when it worked and the reason otherwise.
#pragma once

#include <cstdint>
#include <string>

namespace dhcp::softswitch {

/// Sets the interface up, without IPv6 of its own and without merging of received frames where that can be had.
std::string bring_up(const std::string& name);
/// Sets an interface of the CPU's own IP stack up: no autoconfiguration, answers for its own address only.
std::string bring_up_host(const std::string& name);
bool is_running(const std::string& name);

/// 0.0.0.0 takes the address away.
std::string set_ipv4(const std::string& name, uint32_t ip, uint32_t mask);
std::string set_ipv6(const std::string& name, const std::string& addr_slash_len, bool on);
/// A default route through the interface; `metric` makes it give way to others.
std::string set_default_route(const std::string& name, uint32_t gateway, int metric, bool on);
std::string set_default_route6(const std::string& name, const std::string& gateway, int metric, bool on);

/// "addr/len" into its parts; false when it is not one.
bool parse_prefix(const std::string& text, uint8_t ip6[16], unsigned& length);

}  // namespace dhcp::softswitch
