/// The switch's command line as the program's other parts see it.
#pragma once

#include <string>

namespace dhcp::softswitch {

/// Feeds a configuration file through the command line. False at the first line that is refused; `error` then says
/// file, line number, line and reason, and nothing after that line has been applied.
bool load_configuration(const std::string& path, std::string& error);

/// Listens on a Unix stream socket, one operator a thread. `saved_as` is where `write memory` writes.
class CommandServer {
 public:
  CommandServer(std::string socket_path, const std::string& saved_as);
  ~CommandServer();  // ends all operators' connections and removes the socket
  CommandServer(const CommandServer&) = delete;
  CommandServer& operator=(const CommandServer&) = delete;
  bool start(std::string& error);

 private:
  struct State;
  State* state_;
};

/// Answers scrapers on a Unix stream socket, from a thread of its own: `GET /metrics` in Prometheus' text form.
class MetricsServer {
 public:
  explicit MetricsServer(std::string socket_path);
  ~MetricsServer();  // removes the socket
  MetricsServer(const MetricsServer&) = delete;
  MetricsServer& operator=(const MetricsServer&) = delete;
  bool start(std::string& error);

 private:
  struct State;
  State* state_;
};

}  // namespace dhcp::softswitch
