/// What a service manager hears, at a socket in the file system and at an abstract one.
#include "softswitch/service_manager.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <string>

namespace {

using dhcp::softswitch::tell_service_manager;

/// What arrives at a socket of this name, or "" when nothing does.
std::string heard(const std::string& name) {
  sockaddr_un at{};
  at.sun_family = AF_UNIX;
  name.copy(at.sun_path, sizeof at.sun_path - 1);
  if (name.front() == '@') at.sun_path[0] = '\0';
  const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
  EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&at), size), 0);
  setenv("NOTIFY_SOCKET", name.c_str(), 1);
  tell_service_manager("READY=1");
  unsetenv("NOTIFY_SOCKET");
  tell_service_manager("STOPPING=1");  // nobody asks any more
  std::string text;
  char buffer[64];
  for (ssize_t got; (got = recv(fd, buffer, sizeof buffer, MSG_DONTWAIT)) > 0;)
    text.append(buffer, static_cast<size_t>(got));
  close(fd);
  return text;
}

TEST(ServiceManager, HearsWhereItAskedTo) {
  const std::string own = std::to_string(getpid());
  const std::string path = testing::TempDir() + "notify-" + own;
  EXPECT_EQ(heard(path), "READY=1");
  unlink(path.c_str());
  EXPECT_EQ(heard("@softswitch-test-" + own), "READY=1");
}

}  // namespace
