/// The scrape endpoint: one thread, a few connections at a time, none of them for long. HTTP as far as a scraper needs
/// it (RFC 9112): one GET a connection, answered with its length, and the connection is closed.
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <list>
#include <thread>

#include "softswitch/cli/metrics.h"
#include "softswitch/cli/output.h"
#include "softswitch/cli/unix_listener.h"
#include "softswitch/command_line.h"

namespace dhcp::softswitch {
namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t most_scrapes = 8, longest_request = 4096;
constexpr auto patience = std::chrono::seconds(5);

std::string response(const char* status, std::string_view body, bool with_body = true) {
  const std::string head = cli::format(
      "HTTP/1.1 %s\r\nContent-Type: text/plain; version=0.0.4; charset=utf-8\r\nContent-Length: %zu\r\n"
      "Connection: close\r\n\r\n",
      status, body.size());
  return with_body ? head + std::string(body) : head;
}

/// To a request whose header has come, or will not end.
std::string answer(std::string_view request) {
  if (request.size() > longest_request) return response("431 Request Header Fields Too Large", "too long\n");
  const std::string_view line = request.substr(0, request.find_first_of("\r\n"));
  const size_t method_end = line.find(' '), target_end = line.find(' ', method_end + 1);
  if (method_end == line.npos || target_end == line.npos || !line.substr(target_end + 1).starts_with("HTTP/1."))
    return response("400 Bad Request", "not a request\n");
  const std::string_view method = line.substr(0, method_end);
  const std::string_view target = line.substr(method_end + 1, target_end - method_end - 1);
  if (method != "GET" && method != "HEAD") return response("405 Method Not Allowed", "GET alone\n");
  if (target.substr(0, target.find('?')) != "/metrics") return response("404 Not Found", "there is /metrics alone\n");
  return response("200 OK", cli::exposition(cli::all_metrics()), method == "GET");
}

/// A connection: first the request, then the answer, both within the time.
class Scrape {
 public:
  explicit Scrape(int fd) : fd_(fd) {}
  ~Scrape() { close(fd_); }
  Scrape(const Scrape&) = delete;
  Scrape& operator=(const Scrape&) = delete;

  pollfd wanted() const { return {fd_, static_cast<short>(answering_ ? POLLOUT : POLLIN), 0}; }
  bool late() const { return Clock::now() >= end_; }
  /// False when it is over.
  bool go_on() { return answering_ ? send_more() : receive_more(); }

 private:
  bool receive_more() {
    char block[1024];
    const ssize_t got = recv(fd_, block, sizeof block, 0);
    if (got < 0) return errno == EAGAIN || errno == EINTR;
    if (got == 0) return false;
    text_.append(block, static_cast<size_t>(got));
    const bool whole = text_.find("\r\n\r\n") != text_.npos || text_.find("\n\n") != text_.npos;
    if (!whole && text_.size() <= longest_request) return true;
    text_ = answer(text_);
    answering_ = true;
    return send_more();
  }
  bool send_more() {
    const ssize_t sent = send(fd_, text_.data() + sent_, text_.size() - sent_, MSG_NOSIGNAL);
    if (sent < 0) return errno == EAGAIN || errno == EINTR;
    sent_ += static_cast<size_t>(sent);
    return sent_ < text_.size();
  }

  const int fd_;
  const Clock::time_point end_ = Clock::now() + patience;
  std::string text_;  // the request, then the answer
  bool answering_ = false;
  size_t sent_ = 0;
};

}  // namespace

struct MetricsServer::State {
  cli::UnixListener listener;
  std::thread thread;
  std::list<Scrape> scrapes;

  void run();
  void turn();
};

void MetricsServer::State::run() {
  constexpr int tidy_ms = 1000;
  for (;;) {
    std::vector<pollfd> waits = {{listener.stop_fd(), POLLIN, 0}};
    for (const Scrape& scrape : scrapes) waits.push_back(scrape.wanted());
    if (scrapes.size() < most_scrapes) waits.push_back({listener.fd(), POLLIN, 0});
    if (poll(waits.data(), waits.size(), tidy_ms) < 0 && errno != EINTR) return;
    if (waits.front().revents != 0) return;
    turn();
  }
}

/// Nothing here waits: descriptors that have nothing to say say so.
void MetricsServer::State::turn() {
  scrapes.remove_if([](Scrape& scrape) { return !scrape.go_on() || scrape.late(); });
  if (scrapes.size() == most_scrapes) return;
  const int fd = accept4(listener.fd(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (fd >= 0) scrapes.emplace_back(fd);
}

MetricsServer::MetricsServer(std::string socket_path)
    : state_(new State{cli::UnixListener(std::move(socket_path)), {}, {}}) {}

bool MetricsServer::start(std::string& error) {
  if (!state_->listener.open(error)) return false;
  state_->thread = std::thread([state = state_] { state->run(); });
  return true;
}

MetricsServer::~MetricsServer() {
  if (state_->thread.joinable()) {
    state_->listener.stop();
    state_->thread.join();
  }
  delete state_;
}

}  // namespace dhcp::softswitch
