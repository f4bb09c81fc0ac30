/// Listening for operators: one thread each.
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <list>
#include <thread>

#include "softswitch/cli/settings.h"
#include "softswitch/cli/socket.h"
#include "softswitch/cli/unix_listener.h"
#include "softswitch/command_line.h"
#include "softswitch/footprint.h"

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

}  // namespace

struct CommandServer::State {
  cli::UnixListener listener;
  std::thread thread;

  void run();
};

void CommandServer::State::run() {
  std::list<Operator> operators;
  constexpr int tidy_ms = 1000;
  for (;;) {
    pollfd waits[] = {{listener.fd(), POLLIN, 0}, {listener.stop_fd(), POLLIN, 0}};
    if (poll(waits, 2, tidy_ms) < 0 && errno != EINTR) return;
    if (waits[1].revents != 0) return;
    const bool some_left = operators.remove_if([](const Operator& o) { return o.left.load(); }) != 0;
    if (some_left && operators.empty()) give_back_unused();
    if (waits[0].revents == 0) continue;
    const int fd = accept4(listener.fd(), nullptr, nullptr, SOCK_CLOEXEC);
    if (fd >= 0) operators.emplace_back(fd);
  }
}

CommandServer::CommandServer(std::string socket_path, const std::string& saved_as)
    : state_(new State{cli::UnixListener(std::move(socket_path)), {}}) {
  cli::set_startup_path(saved_as);
}

bool CommandServer::start(std::string& error) {
  std::signal(SIGPIPE, SIG_IGN);  // the line editor writes to operators that may have left
  if (!state_->listener.open(error)) return false;
  state_->thread = std::thread([state = state_] { state->run(); });
  return true;
}

CommandServer::~CommandServer() {
  if (state_->thread.joinable()) {
    state_->listener.stop();
    state_->thread.join();
  }
  delete state_;
}

}  // namespace dhcp::softswitch
