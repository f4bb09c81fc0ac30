#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "softswitch/cli/running_config.h"

namespace dhcp::softswitch::cli {
namespace {

bool write_all(int fd, const std::string& content) {
  for (size_t done = 0; done < content.size();) {
    const ssize_t n = write(fd, content.data() + done, content.size() - done);
    if (n < 0 && errno != EINTR) return false;
    if (n > 0) done += static_cast<size_t>(n);
  }
  return fsync(fd) == 0;
}

/// Makes the new name itself survive a power cut.
void sync_directory(const std::string& path) {
  const size_t slash = path.rfind('/');
  const std::string directory = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
  const int fd = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  fsync(fd);
  close(fd);
}

}  // namespace

std::optional<std::string> replace_file(const std::string& path, const std::string& content) {
  std::string temporary = path + ".XXXXXX";
  const int fd = mkostemp(temporary.data(), O_CLOEXEC);
  if (fd < 0) return "cannot write beside " + path + ": " + std::strerror(errno);
  bool good = write_all(fd, content) && fchmod(fd, S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH) == 0;
  good = close(fd) == 0 && good && std::rename(temporary.c_str(), path.c_str()) == 0;
  if (!good) {
    const int error = errno;
    unlink(temporary.c_str());
    return "cannot write " + path + ": " + std::strerror(error);
  }
  sync_directory(path);
  return {};
}

}  // namespace dhcp::softswitch::cli
