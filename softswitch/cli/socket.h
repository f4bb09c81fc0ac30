/// The way from a Unix stream socket to a session.
///
/// A client's first line says what it is. "batch": each further line is a command and is answered by
/// "ok LENGTH\n" or "refused LENGTH\n" and LENGTH bytes of text. "batch json": the same, and what an accepted command
/// says is one line of JSON. "interactive ROWS": a terminal of that many rows, raw bytes both ways.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace dhcp::softswitch::cli {

constexpr size_t max_line = 4096;

/// Sends it all; false when the peer is gone.
bool send_all(int fd, std::string_view bytes);

/// Takes lines out of a stream.
class LineReader {
 public:
  explicit LineReader(int fd) : fd_(fd) {}
  /// Without its line feed; nothing at the end of the stream or when a line is longer than max_line.
  std::optional<std::string> next();

 private:
  int fd_;
  std::string pending_;
};

/// Serves one client until it leaves. The caller closes the descriptor.
void serve(int fd);

/// Serves a terminal; `rows` 0 = no paging.
void serve_terminal(int fd, uint32_t rows);

}  // namespace dhcp::softswitch::cli
