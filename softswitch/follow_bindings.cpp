#include "softswitch/follow_bindings.h"

#include <pthread.h>

#include "platform/adp.h"
#include "softswitch/cancel_hold.h"
#include "softswitch/event_queue.h"
#include "softswitch/fabric.h"

namespace dhcp::softswitch {
namespace {

constexpr uint16_t dhcp6_client_port = 546;

std::mutex taking;  // so that an older answer never replaces a newer one
BindingSource bindings = nullptr;
thread_local bool reply_in_hand = false;

}  // namespace

FollowBindings::FollowBindings(BindingSource source, std::chrono::seconds period) : period_(period) {
  {
    const HeldLock held(taking);
    bindings = source;
  }
  thread_ = std::thread([this] { run(); });
  pthread_setname_np(thread_.native_handle(), "sw_bindings");
}

FollowBindings::~FollowBindings() {
  {
    const std::lock_guard guard(lock_);
    ending_ = true;
  }
  news_.notify_all();
  thread_.join();
  const HeldLock held(taking);
  bindings = nullptr;
}

void FollowBindings::run() {
  std::unique_lock guard(lock_);
  while (!news_.wait_for(guard, period_, [this] { return ending_; })) take_bound_hosts();
}

void take_bound_hosts() {
  const HeldLock held(taking);
  const bool wanted = fabric().with([](FabricState& s) { return s.guard.guards6(); });
  std::vector<KnownHost6> hosts;
  if (wanted && bindings != nullptr) hosts = bindings();
  BoundHosts::sort(hosts);
  fabric().with([&](FabricState& s) { s.guard.hosts6().replace(hosts); });
}

/// Servers alone change who is bound: their messages go to the clients' port.
void note_taken(const DhcpEvent& event) {
  if (event.type != event_ipv6) return;
  const auto* const frame = static_cast<const skpack*>(event.data);
  reply_in_hand = map_frame({frame->data, frame->psize}).udp_to == dhcp6_client_port;
}

void note_handled() {
  if (!reply_in_hand) return;
  reply_in_hand = false;
  take_bound_hosts();
}

}  // namespace dhcp::softswitch
