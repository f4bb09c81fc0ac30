#include "softswitch/background.h"

#include <fcntl.h>
#include <unistd.h>

namespace dhcp::softswitch {

bool Background::enter() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return false;
  const pid_t child = fork();
  if (child < 0) return false;
  if (child > 0) {
    close(ends[1]);
    char word = 0;
    _exit(read(ends[0], &word, 1) == 1 ? 0 : 1);
  }
  close(ends[0]);
  setsid();
  ready_ = ends[1];
  return true;
}

void Background::release() {
  if (ready_ < 0) return;
  const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (int stream = 0; stream <= 2 && nowhere >= 0; ++stream) dup2(nowhere, stream);
  const char word = 1;
  (void)!write(ready_, &word, 1);
  close(ready_);
  ready_ = -1;
}

}  // namespace dhcp::softswitch
