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
};

/// The functions in force; replaced as a whole by tests, before any task runs.
extern Os os;

/// Seconds since the epoch, cut to 32 bits: two of them are compared by their difference alone.
inline uint32_t now32() { return os.now(); }

/// Seconds from `then` to `now`, right across the wrap of the 32 bits; below 0 = the clock has been set back since.
inline int32_t seconds_since(uint32_t then, uint32_t now) { return static_cast<int32_t>(now - then); }

/// The same for a time that something lasts from. A clock that was set back lets it begin anew, now: it ends no sooner
/// than it should, and not hours late.
inline uint32_t age_of(uint32_t& then, uint32_t now) {
  if (seconds_since(then, now) < 0) then = now;
  return now - then;
}

}  // namespace dhcp::base
