#include "base/text.h"

#include <arpa/inet.h>

#include <cstdio>

namespace dhcp::base {

IpText::IpText(uint32_t ip) {
  snprintf(text_.data(), text_.size(), "%u.%u.%u.%u", ip >> 24, (ip >> 16) & 0xff, (ip >> 8) & 0xff, ip & 0xff);
}

uint32_t host_from_network(uint32_t value) { return ntohl(value); }
uint32_t network_from_host(uint32_t value) { return htonl(value); }

}  // namespace dhcp::base
