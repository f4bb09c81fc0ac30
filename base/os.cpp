#include "base/os.h"

#include <sys/ioctl.h>
#include <sys/socket.h>

#include <ctime>

namespace dhcp::base {

namespace {

uint32_t wall_clock() { return static_cast<uint32_t>(time(nullptr)); }

void sleep_for(uint32_t micros) {
  timespec left{static_cast<time_t>(micros / 1000000), static_cast<long>(micros % 1000000) * 1000};
  while (nanosleep(&left, &left) != 0) {
  }
}

int ask_kernel(int socket, unsigned long request, ifreq* answer) { return ioctl(socket, request, answer); }

}  // namespace

ssize_t send_datagram(int socket, const void* data, size_t size, int flags, const sockaddr* to, unsigned to_size) {
  return sendto(socket, data, size, flags, to, to_size);
}

uint64_t monotonic_us() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1'000'000 + static_cast<uint64_t>(now.tv_nsec) / 1000;
}

Os os{wall_clock, sleep_for, ask_kernel, ::socket};

}  // namespace dhcp::base
