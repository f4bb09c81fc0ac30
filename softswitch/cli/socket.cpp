#include "softswitch/cli/socket.h"

#include <sys/socket.h>

#include <cerrno>
#include <charconv>

#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

void serve_batch(LineReader& lines, int fd, Reader reader) {
  Session session;
  session.speak_to(reader);
  while (!session.ended()) {
    const auto line = lines.next();
    if (!line) return;
    const Reply reply = session.run(*line);
    const std::string text = reply.accepted ? reply.text : reply.reason + "\n" + mark(*line, reply);
    const std::string head = (reply.accepted ? "ok " : "refused ") + std::to_string(text.size()) + "\n";
    if (!send_all(fd, head + text)) return;
  }
}

}  // namespace

bool send_all(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno != EINTR) return false;
    if (sent > 0) bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

std::optional<std::string> LineReader::next() {
  for (;;) {
    if (const size_t end = pending_.find('\n'); end != std::string::npos) {
      std::string line = pending_.substr(0, end);
      pending_.erase(0, end + 1);
      return line;
    }
    if (pending_.size() > max_line) return {};
    char block[512];
    const ssize_t got = recv(fd_, block, sizeof block, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return {};
    pending_.append(block, static_cast<size_t>(got));
  }
}

void serve(int fd) {
  constexpr std::string_view terminal = "interactive ";
  LineReader lines(fd);
  const auto first = lines.next();
  if (!first) return;
  if (*first == "batch") return serve_batch(lines, fd, Reader::person);
  if (*first == "batch json") return serve_batch(lines, fd, Reader::program);
  if (!first->starts_with(terminal)) {
    send_all(fd, "refused 0\n");
    return;
  }
  uint32_t rows = 0;
  std::from_chars(first->data() + terminal.size(), first->data() + first->size(), rows);
  serve_terminal(fd, rows);
}

}  // namespace dhcp::softswitch::cli
