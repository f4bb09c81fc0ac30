#include "base/text.h"

#include <arpa/inet.h>

namespace dhcp::base {

namespace {

/// Digits by hand: texts for log lines that are off are made for every frame.
char* put_octet(char* at, uint8_t octet) {
  if (octet >= 100) *at++ = static_cast<char>('0' + octet / 100);
  if (octet >= 10) *at++ = static_cast<char>('0' + octet / 10 % 10);
  *at++ = static_cast<char>('0' + octet % 10);
  return at;
}

}  // namespace

IpText::IpText(uint32_t ip) {
  char* at = text_.data();
  for (int shift = 24; shift >= 0; shift -= 8) {
    at = put_octet(at, static_cast<uint8_t>(ip >> shift));
    *at++ = shift != 0 ? '.' : '\0';
  }
}

Ip6Text::Ip6Text(const uint8_t* ip) { inet_ntop(AF_INET6, ip, text_.data(), static_cast<socklen_t>(text_.size())); }

uint32_t host_from_network(uint32_t value) { return ntohl(value); }
uint32_t network_from_host(uint32_t value) { return htonl(value); }

}  // namespace dhcp::base
