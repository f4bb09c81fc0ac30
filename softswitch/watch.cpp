#include "softswitch/watch.h"

#include <pthread.h>

#include <chrono>

#include "softswitch/fabric.h"

namespace dhcp::softswitch {
namespace {

using std::chrono::steady_clock;
constexpr auto look = std::chrono::milliseconds(20);
constexpr auto patience = std::chrono::seconds(1);  // how long frames wait for a consumer that does not come
constexpr auto full_pause = std::chrono::milliseconds(1);

}  // namespace

Watch::Watch() : thread_([this] { run(); }) { pthread_setname_np(thread_.native_handle(), "sw_watch"); }

Watch::~Watch() {
  ending_ = true;
  fabric().wake();
  thread_.join();
}

void Watch::run() {
  auto housekeeping = steady_clock::now();
  auto seen = housekeeping - patience;
  while (!ending_) {
    const auto now = steady_clock::now();
    if (fabric().consumer_seen()) {
      seen = now;
      std::this_thread::sleep_for(look);
    } else {
      const bool hold = now - seen < patience;
      fabric().wait(hold ? 0 : static_cast<int>(look.count()));
      fabric().turn(hold);
      if (hold) std::this_thread::sleep_for(full_pause);  // what is held keeps the wait from waiting
    }
    if (now < housekeeping) continue;
    fabric().housekeep();
    housekeeping = now + std::chrono::seconds(1);
  }
}

}  // namespace dhcp::softswitch
