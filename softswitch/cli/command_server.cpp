/// Listening for operators: one thread each.
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <list>
#include <thread>

#include "softswitch/cli/settings.h"
#include "softswitch/cli/socket.h"
#include "softswitch/command_line.h"

namespace dhcp::softswitch {
namespace {

/// An operator's connection; the listening thread alone makes, joins and closes it.
struct Operator {
  int fd = -1;
  std::atomic<bool> left{false};
  std::thread thread;

  explicit Operator(int connected) : fd(connected) {
    thread = std::thread([this] {
      cli::serve(fd);
      shutdown(fd, SHUT_RDWR);
      left = true;
    });
  }
  ~Operator() {
    shutdown(fd, SHUT_RDWR);
    thread.join();
    close(fd);
  }
};

std::string failure(const std::string& path, const char* what) {
  return path + ": " + what + ": " + std::strerror(errno);
}

bool is_socket(const char* path) {
  struct stat found {};
  return stat(path, &found) == 0 && S_ISSOCK(found.st_mode);
}

/// A socket that nobody listens on is a left-over and goes away; any other file stays.
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

struct CommandServer::State {
  std::string path;
  int listening = -1;
  int stop = -1;  // eventfd
  std::thread thread;

  bool open(std::string& error);
  void run();
};

bool CommandServer::State::open(std::string& error) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    error = path + ": longer than the name of a socket can be";
    return false;
  }
  std::copy(path.begin(), path.end(), address.sun_path);  // the rest is zero
  if (someone_listens(address)) {
    error = path + ": another switch listens here";
    return false;
  }
  constexpr int waiting = 8;
  listening = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  stop = eventfd(0, EFD_CLOEXEC);
  const bool good = listening >= 0 && stop >= 0 &&
                    bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                    chmod(path.c_str(), S_IRUSR | S_IWUSR) == 0 && listen(listening, waiting) == 0;
  if (!good) error = failure(path, "cannot listen");
  return good;
}

void CommandServer::State::run() {
  std::list<Operator> operators;
  constexpr int tidy_ms = 1000;
  for (;;) {
    pollfd waits[] = {{listening, POLLIN, 0}, {stop, POLLIN, 0}};
    if (poll(waits, 2, tidy_ms) < 0 && errno != EINTR) return;
    if (waits[1].revents != 0) return;
    operators.remove_if([](const Operator& o) { return o.left.load(); });
    if (waits[0].revents == 0) continue;
    const int fd = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd >= 0) operators.emplace_back(fd);
  }
}

CommandServer::CommandServer(std::string socket_path, const std::string& saved_as)
    : state_(new State{std::move(socket_path), -1, -1, {}}) {
  cli::set_startup_path(saved_as);
}

bool CommandServer::start(std::string& error) {
  std::signal(SIGPIPE, SIG_IGN);  // the line editor writes to operators that may have left
  if (!state_->open(error)) return false;
  state_->thread = std::thread([state = state_] { state->run(); });
  return true;
}

CommandServer::~CommandServer() {
  if (state_->thread.joinable()) {
    eventfd_write(state_->stop, 1);
    state_->thread.join();
    unlink(state_->path.c_str());
  }
  if (state_->listening >= 0) close(state_->listening);
  if (state_->stop >= 0) close(state_->stop);
  delete state_;
}

}  // namespace dhcp::softswitch
