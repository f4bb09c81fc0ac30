#include "tests/fake/neighbour6.h"

#include <netinet/in.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "tests/fake/device.h"

namespace fake {

namespace {

/// The network's end of the one socket that may be open.
thread_local int network = -1;

void say(const std::vector<uint8_t>& message) { send(network, message.data(), message.size(), 0); }

std::vector<uint8_t> advertisement(const std::array<uint8_t, 16>& target, const Mac& mac) {
  std::vector<uint8_t> message{136, 0, 0, 0, 0x60, 0, 0, 0};
  message.insert(message.end(), target.begin(), target.end());
  message.insert(message.end(), {2, 1});
  message.insert(message.end(), mac.begin(), mac.end());
  return message;
}

}  // namespace

int icmp6_socket() {
  if (network >= 0) close(network);
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_DGRAM, 0, ends) != 0) return -1;
  network = ends[1];
  return ends[0];
}

ssize_t send_to_neighbour(int, const void* data, size_t size, int, const sockaddr* to, unsigned) {
  const auto* bytes = static_cast<const uint8_t*>(data);
  device().record(&Device::solicitations_, {bytes, bytes + size});
  std::array<uint8_t, 16> asked{};
  memcpy(asked.data(), reinterpret_cast<const sockaddr_in6*>(to)->sin6_addr.s6_addr, asked.size());
  for (const auto& message : device().icmp6_before) say(message);
  const auto found = device().neighbours6.find(asked);
  if (found != device().neighbours6.end()) say(advertisement(asked, found->second));
  return static_cast<ssize_t>(size);
}

}  // namespace fake
