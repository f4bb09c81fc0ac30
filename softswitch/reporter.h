/// What an operator should know without asking: ports that come and go, clients and servers that the switch has turned
/// away, tables that are full, addresses in conflict, frames lost. A thread looks at the counts once a second and logs
/// what is new; the module itself names rogue IPv4 servers.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "softswitch/alarms.h"

namespace dhcp::softswitch {

class Reporter {
 public:
  Reporter();
  ~Reporter();
  Reporter(const Reporter&) = delete;
  Reporter& operator=(const Reporter&) = delete;

 private:
  void run();
  void look();
  void look_at_ports();
  void look_at_snooping();
  void look_at_servers();
  void tell(int severity, const std::string& what, uint64_t total);

  Alarms alarms_;
  std::vector<bool> up_;
  uint64_t now_s_ = 0;
  std::mutex lock_;
  std::condition_variable news_;
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace dhcp::softswitch
