#include "softswitch/fabric.h"

#include <pthread.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "softswitch/advertisement.h"
#include "softswitch/capture.h"
#include "softswitch/checksum.h"
#include "softswitch/frame_pool.h"

namespace dhcp::softswitch {
namespace {

constexpr uint64_t key_wake = 0;        // what an epoll event is about; otherwise a port, or a CPU device
constexpr unsigned frames_a_turn = 32;  // from one device, before the others are looked at
constexpr uint16_t dhcp6_client_port = 546;

/// A tag that came beside the frame goes back to its place; a checksum that the sender's kernel left out is put in.
void record(Capture& capture, uint32_t port, const RingFrame& in) {
  if (in.size < ether_size) return;
  if (in.unfinished) finish_checksum({in.data, in.size});
  uint8_t tag[tag_size];
  store_be16(tag, in.tag_type);
  store_be16(tag + 2, in.tci);
  const std::span<const uint8_t> beside(tag, in.stripped ? tag_size : 0);
  capture.take(port, pcapng::Direction::in, {{{in.data, 12}, beside, {in.data + 12, in.size - 12}}});
}

}  // namespace

Fabric& fabric() {
  static Fabric the_fabric;
  return the_fabric;
}

Fabric::Fabric() : epoll_(epoll_create1(EPOLL_CLOEXEC)), event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.u64 = key_wake;
  epoll_ctl(epoll_, EPOLL_CTL_ADD, event_, &event);
}

Fabric::~Fabric() {
  close(event_);
  close(epoll_);
}

void Fabric::setup(uint32_t ports, const std::array<uint8_t, 6>& cpu_mac) {
  const HeldLock held(lock_);
  port_count_ = ports;
  ports_.resize(ports + 1);
  state_.bridge.cpu_mac = cpu_mac;
  for (uint32_t port = 1; port <= ports; ++port) state_.bridge.vlans.set_port(port, PortMode::access, 1, 1, {});
  read_clock();
}

void Fabric::read_clock() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  now_ms_ = static_cast<uint64_t>(now.tv_sec) * 1000 + static_cast<uint64_t>(now.tv_nsec) / 1000000;
}

uint32_t Fabric::seconds() {
  const HeldLock held(lock_);
  read_clock();
  return static_cast<uint32_t>(now_ms_ / 1000);
}

// ---- turning the loop

bool Fabric::pump(bool hold) {
  const HeldLock held(lock_);
  flush();
  read_clock();
  unsigned frames = 0;
  for (const Active& active : active_) frames += drain(*active.device, active.port, active.cpu_vlan, hold);
  flush();
  return frames != 0;
}

unsigned Fabric::drain(PacketDevice& device, uint32_t port, uint16_t cpu_vlan, bool hold) {
  RingFrame frame;
  unsigned frames = 0;
  while (frames < frames_a_turn && device.peek(frame)) {
    if (port == 0) {
      receive_from_cpu(cpu_vlan, frame);
    } else if (receive(port, frame, hold) == Progress::held) {
      break;
    }
    device.pop();
    ++frames;
  }
  return frames;
}

void Fabric::flush() {
  for (PacketDevice* device : dirty_) device->flush();
  dirty_.clear();
}

SOFTSWITCH_LEFT_BY_CANCEL int Fabric::serve(EventQueue& queue, DhcpEvent& out, bool wait_for_one,
                                            const std::atomic<bool>& closed) {
  struct Waiting {
    std::atomic<uint32_t>& count;
    explicit Waiting(std::atomic<uint32_t>& c) : count(c) { ++count; }
    ~Waiting() { --count; }
  };
  for (;;) {
    pthread_testcancel();
    visits_.fetch_add(1, std::memory_order_relaxed);
    const bool worked = pump(true);
    if (queue.take(out)) return 1;
    if (closed) return -1;
    if (worked) continue;
    if (!wait_for_one) return 0;
    const Waiting waiting(waiting_);
    std::atomic_thread_fence(std::memory_order_seq_cst);
    if (queue.take(out)) return 1;  // posted before anybody could know that somebody waits
    if (!closed) wait(-1);
  }
}

bool Fabric::consumer_seen() {
  const uint64_t visits = visits_.load(std::memory_order_relaxed);
  const bool seen = visits != seen_visits_ || waiting_.load() != 0;
  seen_visits_ = visits;
  return seen;
}

void Fabric::turn(bool hold) {
  pump(hold);
  std::atomic_thread_fence(std::memory_order_seq_cst);  // the one in serve() is its other half
  if (waiting_.load() != 0) wake();                     // the consumer is back, and what was posted woke nobody
}

SOFTSWITCH_LEFT_BY_CANCEL void Fabric::wait(int timeout_ms) {
  std::array<epoll_event, 32> events;
  const int ready = epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), timeout_ms);
  for (int i = 0; i < ready; ++i) {
    const epoll_event& event = events[static_cast<size_t>(i)];
    if (event.data.u64 == key_wake) {
      uint64_t count;
      (void)!read(event_, &count, sizeof count);
    } else if ((event.events & EPOLLERR) != 0) {
      clear_error(event.data.u64);
    }
  }
}

void Fabric::wake() {
  const uint64_t one = 1;
  (void)!write(event_, &one, sizeof one);
}

// ---- from the ports

bool Fabric::no_room() const { return queue_->full() || frame_pool().exhausted(); }

Fabric::Arrival Fabric::inspect(uint32_t port, const RingFrame& in) const {
  Arrival arrival;
  arrival.map = map_frame({in.data, in.size}, in.stripped);
  const FrameMap& map = arrival.map;
  if (map.udp_to == 0) return arrival;
  if (map.udp_to == dhcp6_client_port && map.type == type_ipv6 &&
      std::memcmp(in.data, state_.bridge.cpu_mac.data(), mac_size) == 0) {
    arrival.own_dhcp6 = true;
  } else {
    arrival.verdict = state_.rules.match(port, map.udp_to);
  }
  return arrival;
}

/// A frame with a second tag is turned away: neither the chip's rules nor the guards would see what it carries, and
/// hosts take such tags off one after the other.
std::optional<SwitchedFrame> Fabric::admit(uint32_t port, const RingFrame& in, const FrameMap& map) const {
  const bool beside = in.stripped && in.tag_type == type_tag;
  const bool inside = !beside && map.tagged;
  if (map.nested) return std::nullopt;
  if (inside && in.large != nullptr) return std::nullopt;  // the note counts with the tag in place
  const uint16_t control = beside ? in.tci : inside ? load_be16(in.data + 14) : uint16_t{0};
  std::optional<uint16_t> tag;
  if (beside || inside) tag = control & 0xfff;
  const std::optional<uint16_t> vlan = state_.bridge.vlans.classify(port, tag);
  if (!vlan) return std::nullopt;

  SwitchedFrame frame;
  frame.tci = static_cast<uint16_t>((control & 0xf000) | *vlan);
  frame.macs = in.data;
  frame.rest = {in.data + (inside ? 16 : 12), in.data + in.size};
  frame.large = in.large;
  return frame;
}

Fabric::Progress Fabric::receive(uint32_t port, const RingFrame& in, bool hold) {
  PortCounters& counters = ports_[port].past;
  Arrival arrival;
  bool taken = in.usable && state_.bridge.acceptable(in.data);
  if (taken) {
    arrival = inspect(port, in);
    if (hold && queue_ != nullptr && arrival.for_module() && in.large == nullptr && no_room()) return Progress::held;
  }
  if (capture_ != nullptr) record(*capture_, port, in);
  ++counters.rx_frames;
  counters.rx_bytes += in.size;
  std::optional<SwitchedFrame> frame;
  if (taken) frame = admit(port, in, arrival.map);
  if (!frame) {
    ++counters.rx_filtered;
    return Progress::done;
  }
  const uint8_t* const source = in.data + mac_size;
  if (!arrival.for_module() && !state_.guard.admits(port, frame->vlan(), source, frame->rest, arrival.map)) {
    return Progress::done;  // and nothing is learnt from a liar
  }
  state_.bridge.macs.learn(frame->vlan(), source, port, static_cast<uint32_t>(now_ms_ / 1000));
  if (in.unfinished) finish_checksum({in.data, in.size});
  route(port, *frame, arrival);
  return Progress::done;
}

void Fabric::route(uint32_t port, const SwitchedFrame& frame, const Arrival& arrival) {
  const Verdict& verdict = arrival.verdict;
  if (verdict.way != Verdict::Way::forward) state_.rules.count(verdict);
  if (verdict.way == Verdict::Way::drop) return;
  if (!arrival.for_module()) return forward(frame, port);
  if (!arrival.own_dhcp6 && !state_.limits.admit(verdict.queue, now_ms_)) return;
  trap(port, frame, arrival.map.type == type_ipv6 ? event_ipv6 : event_ipv4);
}

void Fabric::trap(uint32_t port, const SwitchedFrame& frame, uint32_t type) {
  ++ports_[port].past.trapped;
  const size_t size = 16 + frame.rest.size();
  skpack* const skp = queue_ == nullptr || queue_->full() || size > frame_room ? nullptr : frame_pool().take();
  if (skp == nullptr) {
    if (queue_ != nullptr) queue_->count_dropped();
    return;
  }
  std::memcpy(skp->data, frame.macs, 12);
  store_be16(skp->data + 12, type_tag);
  store_be16(skp->data + 14, frame.tci);
  std::memcpy(skp->data + 16, frame.rest.data(), frame.rest.size());
  skp->psize = static_cast<uint32_t>(size);
  skp->in_intf = port;
  skp->bcm_tag[3] = static_cast<uint8_t>(port & 63);  // source port on the chip
  DhcpEvent event{};
  event.p = static_cast<int32_t>(port);
  event.type = type;
  event.data = skp;
  if (!queue_->post(event)) {
    queue_->count_dropped();
    frame_pool().release(skp);
  }
}

// ---- to the ports

void Fabric::send(uint32_t port, const SwitchedFrame& frame, bool tagged) {
  if (capture_ != nullptr) {
    uint8_t tag[tag_size];
    store_be16(tag, type_tag);
    store_be16(tag + 2, frame.tci);
    const std::span<const uint8_t> put(tag, tagged ? tag_size : 0);
    capture_->take(port, pcapng::Direction::out, {{{frame.macs, 12}, put, frame.rest}});
  }
  emit(*ports_[port].device, frame, tagged);
}

void Fabric::emit(PacketDevice& device, const SwitchedFrame& frame, bool tagged) {
  uint8_t head[16];
  std::memcpy(head, frame.macs, 12);
  store_be16(head + 12, type_tag);
  store_be16(head + 14, frame.tci);
  const std::span<const uint8_t> front(head, tagged ? 16 : 12);
  if (frame.large != nullptr) return device.send_large(*frame.large, front, frame.rest);
  if (!device.pending()) dirty_.push_back(&device);
  device.queue(front, frame.rest);
}

void Fabric::forward(const SwitchedFrame& frame, uint32_t ingress) {
  const Bridge& bridge = state_.bridge;
  const uint16_t vlan = frame.vlan();
  const Decision decision = bridge.decide(vlan, frame.macs, ingress);
  for_each_port(decision.ports & open_ports_,
                [&](uint32_t port) { send(port, frame, bridge.vlans.leaves_tagged(port, vlan)); });
  if (!decision.cpu) return;
  const auto cpu = cpu_.find(vlan);
  if (cpu != cpu_.end()) deliver(*cpu->second, frame);
}

int Fabric::transmit(const skpack& skp, intf_order_list* listed, uint32_t vlan, int mode, bool collect) {
  if (skp.data == nullptr || skp.psize < ether_size) return -1;
  const bool tagged = load_be16(skp.data + 12) == type_tag;
  if (tagged && skp.psize < tagged_size) return -1;
  SwitchedFrame frame;
  frame.macs = skp.data;
  frame.tci = tagged ? load_be16(skp.data + 14) : static_cast<uint16_t>(vlan & 0xfff);
  frame.rest = {skp.data + (tagged ? 16 : 12), skp.data + skp.psize};

  const HeldLock held(lock_);
  const VlanMap& vlans = state_.bridge.vlans;
  PortSet wanted = 0;
  if (listed == nullptr) wanted = ~PortSet{0};
  if (listed != nullptr)
    for (auto* node = listed->next; node != reinterpret_cast<intf_order_node*>(listed); node = node->next)
      wanted |= port_bit(node->ifindex);
  if (mode == 0) wanted &= ~port_bit(skp.in_intf);
  if (vlan != vlan_untagged) wanted &= vlans.members(mode == 0 ? vlan : frame.vlan());
  for_each_port(wanted & open_ports_, [&](uint32_t port) {
    send(port, frame, vlan != vlan_untagged && vlans.leaves_tagged(port, frame.vlan()));
  });
  if (!collect) flush();
  return 0;
}

// ---- the CPU side

void Fabric::receive_from_cpu(uint16_t vlan, const RingFrame& in) {
  if (!in.usable || in.stripped) return;  // the CPU's interfaces are untagged
  if (in.unfinished) finish_checksum({in.data, in.size});
  SwitchedFrame frame;
  frame.macs = in.data;
  frame.tci = vlan;
  frame.rest = {in.data + 12, in.data + in.size};
  frame.large = in.large;
  forward(frame, 0);
}

void Fabric::deliver(PacketDevice& cpu, const SwitchedFrame& frame) {
  const bool to_itself = std::memcmp(frame.macs, state_.bridge.cpu_mac.data(), mac_size) == 0;
  if (const auto named = to_itself ? name_advertiser(frame.macs, frame.rest) : std::nullopt)
    return emit(cpu, {named->data(), frame.tci, std::span(*named).subspan(macs_size), nullptr}, false);
  emit(cpu, frame, false);
  // The CPU interface hands ARP answers to itself up a second time with six bytes of lead behind the type, as the
  // device's does.
  constexpr size_t operation = 8;
  if (frame.rest.size() < operation + 2 || load_be16(frame.rest.data()) != type_arp) return;
  if (load_be16(&frame.rest[operation]) != arp_answer) return;
  if (!to_itself) return;
  uint8_t head[20] = {};
  std::memcpy(head, frame.macs, 12);
  store_be16(head + 12, type_arp);
  cpu.queue(head, frame.rest.subspan(2));
}

}  // namespace dhcp::softswitch
