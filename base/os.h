/// Clock, sleep, sockets, interface queries, renaming and programs behind one seam: the module's only view of time and
/// of the device's own addresses. Tests replace the functions and never sleep.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

struct ifreq;
struct sockaddr;

namespace dhcp::base {

/// Microseconds of a clock that is never set.
uint64_t monotonic_us();

/// sendto().
ssize_t send_datagram(int socket, const void* data, size_t size, int flags, const sockaddr* to, unsigned to_size);

struct Os {
  uint32_t (*now)();                                                         // wall clock, seconds since the epoch
  void (*sleep_us)(uint32_t micros);                                         // a cancellation point
  int (*query_interface)(int socket, unsigned long request, ifreq* answer);  // ioctl() of the SIOCGIF... family
  int (*socket)(int domain, int type, int protocol);
  int (*rename)(const char* from, const char* to) = ::rename;
  ssize_t (*send_to)(int socket, const void* data, size_t size, int flags, const sockaddr* to,
                     unsigned to_size) = send_datagram;
  int (*run)(const char* command_line) = ::system;
  uint64_t (*ticks_us)() = monotonic_us;
};

/// The functions in force; replaced as a whole by tests, before any task runs.
extern Os os;

/// Seconds since the epoch, cut to 32 bits: differences are taken in unsigned arithmetic.
inline uint32_t now32() { return os.now(); }

}  // namespace dhcp::base
