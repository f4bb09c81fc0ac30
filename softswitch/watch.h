/// The watch thread: turns the switch's loop while the module does not, and does the housekeeping once a second.
#pragma once

#include <atomic>
#include <thread>

namespace dhcp::softswitch {

class Watch {
 public:
  Watch();
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

 private:
  void run();

  std::atomic<bool> ending_{false};
  std::thread thread_;
};

}  // namespace dhcp::softswitch
