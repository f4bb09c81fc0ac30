/// How IPv6 source guard comes by its hosts. The module tells nobody of DHCPv6 bindings, it can only be asked; so it is
/// asked whenever they may have changed: when the dispatch task comes back from a server's message, which is before the
/// client hears of it; after commands that change them; and once a second for those that have aged out.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/queue.h"
#include "softswitch/control.h"

namespace dhcp::softswitch {

/// The clients that are bound and have an address, in any order.
using BindingSource = std::vector<KnownHost6> (*)();

/// Asks the source as long as this object lives, without events every `period`; there are no hosts before and after it.
/// One a process.
class FollowBindings {
 public:
  explicit FollowBindings(BindingSource source, std::chrono::seconds period = std::chrono::seconds(1));
  ~FollowBindings();
  FollowBindings(const FollowBindings&) = delete;
  FollowBindings& operator=(const FollowBindings&) = delete;

 private:
  void run();

  const std::chrono::seconds period_;
  std::mutex lock_;
  std::condition_variable news_;
  bool ending_ = false;
  std::thread thread_;
};

/// Asks now, when a port is guarded; forgets the hosts when none is. Not to be called under a lock of the module or of
/// the fabric.
void take_bound_hosts();

/// For the thread that drains the queue: what it has taken, and that it is back from it.
void note_taken(const DhcpEvent& event);
void note_handled();

}  // namespace dhcp::softswitch
