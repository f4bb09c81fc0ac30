/// A Unix stream socket that listens for the owner alone, and the word to its thread that it is over.
#pragma once

#include <string>

namespace dhcp::softswitch::cli {

class UnixListener {
 public:
  explicit UnixListener(std::string path) : path_(std::move(path)) {}
  ~UnixListener();  // removes the socket if it was opened
  UnixListener(const UnixListener&) = delete;
  UnixListener& operator=(const UnixListener&) = delete;

  /// A socket that nobody listens on is a left-over and is taken over; any other file stays. False with the reason.
  bool open(std::string& error);
  int fd() const { return listening_; }
  /// Readable from stop() on.
  int stop_fd() const { return stop_; }
  void stop() const;

 private:
  std::string path_;
  int listening_ = -1;
  int stop_ = -1;  // eventfd
  bool bound_ = false;
};

}  // namespace dhcp::softswitch::cli
