#include <cerrno>
#include <cstring>

#include "softswitch/cli/running_config.h"
#include "softswitch/cli/session.h"
#include "softswitch/command_line.h"

namespace dhcp::softswitch {

bool load_configuration(const std::string& path, std::string& error) {
  const auto text = cli::read_file(path);
  if (!text) {
    error = path + ": " + std::strerror(errno);
    return false;
  }
  cli::Session session = cli::Session::for_file();
  size_t number = 0;
  for (size_t at = 0; at < text->size();) {
    const size_t end = std::min(text->find('\n', at), text->size());
    const std::string line = text->substr(at, end - at);
    const cli::Reply reply = session.run(line);
    ++number;
    if (!reply.accepted) {
      error = path + ":" + std::to_string(number) + ": " + reply.reason + "\n" + cli::mark(line, reply);
      return false;
    }
    at = end + 1;
  }
  return true;
}

}  // namespace dhcp::softswitch
