#include "softswitch/packet_device.h"

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "softswitch/net_config.h"
#include "softswitch/wire.h"

namespace dhcp::softswitch {
namespace {

constexpr int all_protocols = 0x0003;  // ETH_P_ALL
constexpr uint32_t block_size = 1 << 16;
constexpr int send_buffer = 4 << 20;

bool set(int fd, int level, int name, int value) { return setsockopt(fd, level, name, &value, sizeof value) == 0; }

std::string reason(const char* what) { return std::string(what) + ": " + std::strerror(errno); }

}  // namespace

struct PacketDevice::Batch {
  std::array<mmsghdr, batch_frames> message{};
  std::array<iovec, batch_frames> part{};
  std::array<std::array<uint8_t, slot_size>, batch_frames> room;
};

PacketDevice::PacketDevice(int fd, int index) : fd_(fd), index_(index), batch_(new Batch) {
  for (unsigned i = 0; i < batch_frames; ++i) {
    batch_->part[i].iov_base = batch_->room[i].data();
    batch_->message[i].msg_hdr.msg_iov = &batch_->part[i];
    batch_->message[i].msg_hdr.msg_iovlen = 1;
  }
}

PacketDevice::~PacketDevice() {
  if (ring_ != nullptr) munmap(ring_, size_t{slots_} * slot_size);
  close(fd_);
}

bool PacketDevice::map_ring(uint32_t slots) {
  if (!set(fd_, SOL_PACKET, PACKET_VERSION, TPACKET_V2)) return false;
  tpacket_req request{};
  request.tp_frame_size = slot_size;
  request.tp_frame_nr = slots;
  request.tp_block_size = block_size;
  request.tp_block_nr = slots / (block_size / slot_size);
  if (setsockopt(fd_, SOL_PACKET, PACKET_RX_RING, &request, sizeof request) != 0) return false;
  void* const at = mmap(nullptr, size_t{slots} * slot_size, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
  if (at == MAP_FAILED) return false;
  ring_ = static_cast<uint8_t*>(at);
  slots_ = slots;
  return true;
}

bool PacketDevice::bind_to(int index) {
  sockaddr_ll address{};
  address.sll_family = AF_PACKET;
  address.sll_protocol = htons(all_protocols);
  address.sll_ifindex = index;
  if (bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return false;
  packet_mreq promiscuous{};
  promiscuous.mr_ifindex = index;
  promiscuous.mr_type = PACKET_MR_PROMISC;
  return setsockopt(fd_, SOL_PACKET, PACKET_ADD_MEMBERSHIP, &promiscuous, sizeof promiscuous) == 0;
}

std::unique_ptr<PacketDevice> PacketDevice::open(const std::string& ifname, uint32_t slots, std::string& error) {
  const int index = static_cast<int>(if_nametoindex(ifname.c_str()));
  if (index == 0) {
    error = "no interface " + ifname;
    return nullptr;
  }
  const int fd = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    error = reason("packet socket");
    return nullptr;
  }
  std::unique_ptr<PacketDevice> device(new PacketDevice(fd, index));
  set(fd, SOL_PACKET, PACKET_IGNORE_OUTGOING, 1);
  if (!set(fd, SOL_SOCKET, SO_SNDBUFFORCE, send_buffer)) set(fd, SOL_SOCKET, SO_SNDBUF, send_buffer);
  if (!device->map_ring(slots) || !device->bind_to(index)) {
    error = reason(ifname.c_str());
    return nullptr;
  }
  bring_up(ifname);
  return device;
}

bool PacketDevice::peek(RingFrame& out) {
  auto* const header = reinterpret_cast<tpacket2_hdr*>(slot());
  const uint32_t status = __atomic_load_n(&header->tp_status, __ATOMIC_ACQUIRE);
  if ((status & TP_STATUS_USER) == 0) return false;
  out.data = slot() + header->tp_mac;
  out.size = header->tp_snaplen;
  out.usable = header->tp_snaplen == header->tp_len && header->tp_len >= ether_size;
  out.unfinished = (status & TP_STATUS_CSUMNOTREADY) != 0;
  out.stripped = (status & TP_STATUS_VLAN_VALID) != 0;
  out.tci = header->tp_vlan_tci;
  out.tag_type = (status & TP_STATUS_VLAN_TPID_VALID) != 0 ? header->tp_vlan_tpid : type_tag;
  return true;
}

void PacketDevice::pop() {
  auto* const header = reinterpret_cast<tpacket2_hdr*>(slot());
  __atomic_store_n(&header->tp_status, TP_STATUS_KERNEL, __ATOMIC_RELEASE);
  at_ = at_ + 1 == slots_ ? 0 : at_ + 1;
}

bool PacketDevice::queue(std::span<const uint8_t> head, std::span<const uint8_t> rest) {
  if (head.size() + rest.size() > slot_size) {
    ++counters_.tx_failed;
    return false;
  }
  if (queued_ == batch_frames) flush();
  uint8_t* const room = batch_->room[queued_].data();
  std::memcpy(room, head.data(), head.size());
  if (!rest.empty()) std::memcpy(room + head.size(), rest.data(), rest.size());
  batch_->part[queued_++].iov_len = head.size() + rest.size();
  return true;
}

void PacketDevice::flush() {
  unsigned from = 0;
  while (from < queued_) {
    const int sent = sendmmsg(fd_, &batch_->message[from], queued_ - from, MSG_DONTWAIT);
    if (sent < 0) {
      if (errno == EINTR) continue;
      ++counters_.tx_failed;  // the first of them was refused; the rest may still go
      ++from;
      continue;
    }
    for (const unsigned end = from + static_cast<unsigned>(sent); from < end; ++from) {
      ++counters_.tx_frames;
      counters_.tx_bytes += batch_->part[from].iov_len;
    }
  }
  queued_ = 0;
}

void PacketDevice::update_lost() {
  tpacket_stats stats{};
  socklen_t size = sizeof stats;
  if (getsockopt(fd_, SOL_PACKET, PACKET_STATISTICS, &stats, &size) == 0) counters_.rx_lost += stats.tp_drops;
}

}  // namespace dhcp::softswitch
