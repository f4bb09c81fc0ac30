/// The switch itself: ports, tables, chip rules, and the loop that carries frames.
///
/// It owns the port and CPU devices, the bridge tables, the field processor and the CPU rate limits; one lock, the
/// fabric's, guards them all and is never held while the switch waits.
///
/// Who turns the loop: the module's dispatch task, while it waits for an event, receives and forwards frames itself,
/// so that a frame for the module is handed over on the same thread that goes on to handle it. Between two cores of a
/// small machine the hand-over would cost more than the work. A watch thread looks every 20 ms whether that task comes
/// by; when it does not (the module is stopped, or busy with a slow event) the watch thread turns the loop instead,
/// so forwarding never depends on the module. Both may do so at once; the lock is all that correctness needs.
///
/// Frames for the module that find the event queue full stay in the kernel's ring as long as the dispatch task has
/// been seen lately, and are dropped and counted when it has not. Answers of the dispatch task are collected and leave
/// when it asks for the next event and there is none; everybody else's leave at once.
#pragma once

#include <sys/epoll.h>

#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/adp.h"
#include "softswitch/bridge.h"
#include "softswitch/cancel_hold.h"
#include "softswitch/event_queue.h"
#include "softswitch/field_processor.h"
#include "softswitch/frame_map.h"
#include "softswitch/guard.h"
#include "softswitch/packet_device.h"
#include "softswitch/rate_limit.h"

namespace dhcp::softswitch {

class Capture;

/// A frame on its way through the switch: addresses, tag control word, and everything behind the tag.
struct SwitchedFrame {
  const uint8_t* macs = nullptr;
  uint16_t tci = 0;
  std::span<const uint8_t> rest;
  const OffloadNote* large = nullptr;  // what is left to do with a large frame
  uint16_t vlan() const { return tci & 0xfff; }
};

/// Tables and rules, for those who configure or show them under the lock.
struct FabricState {
  Bridge bridge;
  FieldProcessor rules;
  RateLimit limits;
  Guard guard;
};

class Fabric {
 public:
  Fabric();
  ~Fabric();
  Fabric(const Fabric&) = delete;
  Fabric& operator=(const Fabric&) = delete;

  void setup(uint32_t ports, const std::array<uint8_t, 6>& cpu_mac);
  uint32_t port_count() const { return port_count_; }
  uint32_t seconds();  // the clock by which addresses age

  template <class Work>
  auto with(Work work) {
    const HeldLock held(lock_);
    return work(state_);
  }

  /// Gives the port an interface, which need not be there yet: it is opened as soon as it is.
  void set_device(uint32_t port, const std::string& ifname);
  std::string device(uint32_t port);
  bool port_up(uint32_t port);
  PortCounters counters(uint32_t port);
  /// Empty = done, otherwise the reason.
  std::string open_cpu_device(uint16_t vlan, const std::string& ifname);
  void close_cpu_device(uint16_t vlan);

  /// Every frame that a port receives, and every one that it sends, goes to the capture, too; null = to none.
  void set_capture(Capture* capture);

  void connect(EventQueue& queue);
  void disconnect(EventQueue& queue);
  QueueCounters queue_counters();
  /// Tells the module that a port has come or gone; 0 = none.
  void notify_port_change(uint32_t added, uint32_t removed);

  /// The consumer's wait: 1 with a record in `out`, 0 when there is none and `wait` is not set, -1 once `closed`.
  /// Cancellation point.
  int serve(EventQueue& queue, DhcpEvent& out, bool wait_for_one, const std::atomic<bool>& closed);
  /// `collect`: the caller is the consumer and will be back.
  int transmit(const skpack& skp, intf_order_list* listed, uint32_t vlan, int mode, bool collect);

  /// The watch thread's work. `housekeep` is due once a second.
  bool consumer_seen();
  bool consumer_waits() const { return waiting_.load() != 0; }
  void turn(bool hold);
  void wait(int timeout_ms);
  void wake();
  void housekeep();

 private:
  struct Port {
    std::string ifname;
    std::unique_ptr<PacketDevice> device;
    bool up = false;
    PortCounters past;  // receive side, and the send side of devices that are gone
  };
  enum class Progress { done, held };

  /// What is known of a received frame before it is taken out of the ring.
  struct Arrival {
    FrameMap map;
    Verdict verdict;
    bool own_dhcp6 = false;  // an answer for the switch's own DHCPv6 client: no rule is needed for it
    bool for_module() const { return own_dhcp6 || verdict.way == Verdict::Way::redirect; }
  };

  bool pump(bool hold);
  unsigned drain(PacketDevice& device, uint32_t port, uint16_t cpu_vlan, bool hold);
  Progress receive(uint32_t port, const RingFrame& in, bool hold);
  Arrival inspect(uint32_t port, const RingFrame& in) const;
  std::optional<SwitchedFrame> admit(uint32_t port, const RingFrame& in, const FrameMap& map) const;
  void route(uint32_t port, const SwitchedFrame& frame, const Arrival& arrival);
  void receive_from_cpu(uint16_t vlan, const RingFrame& frame);
  bool no_room() const;
  void trap(uint32_t port, const SwitchedFrame& frame, uint32_t type);
  void forward(const SwitchedFrame& frame, uint32_t ingress);
  void deliver(PacketDevice& cpu, const SwitchedFrame& frame);
  void send(uint32_t port, const SwitchedFrame& frame, bool tagged);
  void emit(PacketDevice& device, const SwitchedFrame& frame, bool tagged);
  void flush();

  void open_port(uint32_t port);
  void close_port(uint32_t port);
  void listen(const PacketDevice& device, uint64_t key);
  void rebuild_active();
  void clear_error(uint64_t key);
  void read_clock();

  uint32_t port_count_ = 0;
  int epoll_ = -1, event_ = -1;

  std::mutex lock_;
  FabricState state_;
  std::vector<Port> ports_;
  std::map<uint16_t, std::unique_ptr<PacketDevice>> cpu_;
  struct Active {
    PacketDevice* device;
    uint32_t port;  // 0 = a CPU device
    uint16_t cpu_vlan;
  };
  std::vector<Active> active_;  // every open device, in the order it is looked at
  PortSet open_ports_ = 0;      // those of them that are ports
  std::vector<PacketDevice*> dirty_;
  EventQueue* queue_ = nullptr;
  Capture* capture_ = nullptr;
  uint64_t now_ms_ = 0;

  std::atomic<uint64_t> visits_{0};
  std::atomic<uint32_t> waiting_{0};
  uint64_t seen_visits_ = 0;  // the watch thread's own
};

Fabric& fabric();

}  // namespace dhcp::softswitch
