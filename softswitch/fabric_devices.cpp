/// The fabric's devices: opening, losing and counting them, and the event queue's connection.
#include <net/if.h>
#include <sys/socket.h>

#include <cstdlib>

#include "softswitch/fabric.h"
#include "softswitch/net_config.h"

namespace dhcp::softswitch {
namespace {

constexpr uint64_t key_cpu = 0x10000;
constexpr uint32_t port_slots = 512, cpu_slots = 64;  // a burst of as many frames finds room

}  // namespace

void Fabric::listen(const PacketDevice& device, uint64_t key) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.u64 = key;
  epoll_ctl(epoll_, EPOLL_CTL_ADD, device.fd(), &event);
}

void Fabric::rebuild_active() {
  active_.clear();
  open_ports_ = 0;
  for (uint32_t port = 1; port <= port_count_; ++port) {
    if (!ports_[port].device) continue;
    active_.push_back({ports_[port].device.get(), port, 0});
    open_ports_ |= port_bit(port);
  }
  for (const auto& [vlan, device] : cpu_) active_.push_back({device.get(), 0, vlan});
}

void Fabric::clear_error(uint64_t key) {
  const HeldLock held(lock_);
  const PacketDevice* device = nullptr;
  if (key < ports_.size()) device = ports_[key].device.get();
  if (key >= key_cpu) {
    const auto cpu = cpu_.find(static_cast<uint16_t>(key - key_cpu));
    if (cpu != cpu_.end()) device = cpu->second.get();
  }
  int error;
  socklen_t size = sizeof error;
  if (device != nullptr) getsockopt(device->fd(), SOL_SOCKET, SO_ERROR, &error, &size);
}

void Fabric::open_port(uint32_t port) {
  Port& p = ports_[port];
  std::string why;
  p.device = PacketDevice::open(p.ifname, port_slots, why);
  if (!p.device) return;  // tried again by the next round of housekeeping
  listen(*p.device, port);
  rebuild_active();
  p.up = is_running(p.ifname);
}

void Fabric::close_port(uint32_t port) {
  Port& p = ports_[port];
  p.up = false;
  if (!p.device) return;
  flush();
  p.device->update_lost();
  const PacketDevice::Counters& sent = p.device->counters();
  p.past.tx_frames += sent.tx_frames;
  p.past.tx_bytes += sent.tx_bytes;
  p.past.tx_failed += sent.tx_failed;
  p.past.rx_lost += sent.rx_lost;
  p.device.reset();
  rebuild_active();
  state_.bridge.macs.forget_intf(port);
}

void Fabric::set_device(uint32_t port, const std::string& ifname) {
  const HeldLock held(lock_);
  close_port(port);
  ports_[port].ifname = ifname;
  if (!ifname.empty()) open_port(port);
}

std::string Fabric::device(uint32_t port) {
  const HeldLock held(lock_);
  return ports_[port].ifname;
}

bool Fabric::port_up(uint32_t port) {
  const HeldLock held(lock_);
  return ports_[port].up;
}

PortCounters Fabric::counters(uint32_t port) {
  const HeldLock held(lock_);
  Port& p = ports_[port];
  PortCounters counters = p.past;
  if (p.device) {
    p.device->update_lost();
    const PacketDevice::Counters& sent = p.device->counters();
    counters.tx_frames += sent.tx_frames;
    counters.tx_bytes += sent.tx_bytes;
    counters.tx_failed += sent.tx_failed;
    counters.rx_lost += sent.rx_lost;
  }
  return counters;
}

std::string Fabric::open_cpu_device(uint16_t vlan, const std::string& ifname) {
  const HeldLock held(lock_);
  std::string why;
  std::unique_ptr<PacketDevice> device = PacketDevice::open(ifname, cpu_slots, why);
  if (!device) return why;
  listen(*device, key_cpu + vlan);
  cpu_[vlan] = std::move(device);
  state_.bridge.cpu_vlans.set(vlan);
  rebuild_active();
  return {};
}

void Fabric::close_cpu_device(uint16_t vlan) {
  const HeldLock held(lock_);
  flush();
  cpu_.erase(vlan);
  state_.bridge.cpu_vlans.reset(vlan);
  rebuild_active();
}

void Fabric::housekeep() {
  const HeldLock held(lock_);
  read_clock();
  state_.bridge.macs.expire(static_cast<uint32_t>(now_ms_ / 1000), state_.bridge.ageing_s);
  for (uint32_t port = 1; port <= port_count_; ++port) {
    Port& p = ports_[port];
    if (p.ifname.empty()) continue;
    const int index = static_cast<int>(if_nametoindex(p.ifname.c_str()));
    if (p.device && p.device->index() != index) close_port(port);
    if (!p.device && index != 0) open_port(port);
    p.up = p.device && is_running(p.ifname);
    if (p.device) p.device->update_lost();
  }
}

void Fabric::set_capture(Capture* capture) {
  const HeldLock held(lock_);
  capture_ = capture;
}

void Fabric::connect(EventQueue& queue) {
  const HeldLock held(lock_);
  queue_ = &queue;
}

void Fabric::disconnect(EventQueue& queue) {
  const HeldLock held(lock_);
  if (queue_ == &queue) queue_ = nullptr;
}

QueueCounters Fabric::queue_counters() {
  const HeldLock held(lock_);
  QueueCounters counters = queue_ == nullptr ? QueueCounters{} : queue_->counters();
  counters.dropped_rate = state_.limits.refused();
  return counters;
}

void Fabric::notify_port_change(uint32_t added, uint32_t removed) {
  DhcpEvent event{};
  event.type = event_port_change;
  event.len = port_notice_size;
  auto* const block = static_cast<uint8_t*>(std::calloc(1, port_notice_size));
  if (block == nullptr) return;
  store_be32(block, added);         // words 0-7: added, ended by a zero word
  store_be32(block + 32, removed);  // words 8-15: removed
  event.data = block;
  {
    const HeldLock held(lock_);
    if (queue_ == nullptr || !queue_->post(event)) std::free(block);
  }
  wake();
}

}  // namespace dhcp::softswitch
