/// System calls that a test may not or must not make: the linker turns the module's calls here.
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

#include "tests/fake/device.h"

extern "C" {

int __real_poll(pollfd* fds, nfds_t count, int timeout_ms);
int __wrap_poll(pollfd* fds, nfds_t count, int timeout_ms);
int __real_bind(int socket, const sockaddr* address, socklen_t size);
int __wrap_bind(int socket, const sockaddr* address, socklen_t size);
int __wrap_fsync(int file);

/// No wait longer than a millisecond.
int __wrap_poll(pollfd* fds, nfds_t count, int timeout_ms) { return __real_poll(fds, count, std::min(timeout_ms, 1)); }

/// Low ports need rights, so the port is only written down.
int __wrap_bind(int socket, const sockaddr* address, socklen_t size) {
  if (address->sa_family == AF_UNIX) return __real_bind(socket, address, size);
  const auto* bytes = reinterpret_cast<const unsigned char*>(address->sa_data);
  fake::device().call("bind(" + std::to_string(bytes[0] << 8 | bytes[1]) + ")");
  errno = fake::device().bind_error;
  return fake::device().bind_error == 0 ? 0 : -1;
}

/// Nobody waits for the disk.
int __wrap_fsync(int /*file*/) { return 0; }

}  // extern "C"
