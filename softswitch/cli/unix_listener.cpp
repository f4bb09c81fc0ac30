#include "softswitch/cli/unix_listener.h"

#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace dhcp::softswitch::cli {
namespace {

bool is_socket(const char* path) {
  struct stat found {};
  return stat(path, &found) == 0 && S_ISSOCK(found.st_mode);
}

bool someone_listens(const sockaddr_un& address) {
  if (!is_socket(address.sun_path)) return false;
  const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (probe < 0) return false;
  const bool answered = connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(probe);
  if (!answered) unlink(address.sun_path);
  return answered;
}

}  // namespace

bool UnixListener::open(std::string& error) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path_.size() >= sizeof address.sun_path) {
    error = path_ + ": longer than the name of a socket can be";
    return false;
  }
  std::copy(path_.begin(), path_.end(), address.sun_path);  // the rest is zero
  if (someone_listens(address)) {
    error = path_ + ": another switch listens here";
    return false;
  }
  constexpr int waiting = 8;
  listening_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  stop_ = eventfd(0, EFD_CLOEXEC);
  bound_ = listening_ >= 0 && stop_ >= 0 &&
           bind(listening_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  const bool good = bound_ && chmod(path_.c_str(), S_IRUSR | S_IWUSR) == 0 && listen(listening_, waiting) == 0;
  if (!good) error = path_ + ": cannot listen: " + std::strerror(errno);
  return good;
}

void UnixListener::stop() const { eventfd_write(stop_, 1); }

UnixListener::~UnixListener() {
  if (bound_) unlink(path_.c_str());
  if (listening_ >= 0) close(listening_);
  if (stop_ >= 0) close(stop_);
}

}  // namespace dhcp::softswitch::cli
