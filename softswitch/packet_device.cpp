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

constexpr uint16_t all_protocols = 0x0003;  // ETH_P_ALL
constexpr uint32_t slot_size = 672;  // six to the usual page; a frame of 596 bytes, behind what the kernel says of it
constexpr int kernel_buffer = 4 << 20;
constexpr size_t beside_room = 1 << 17;

bool set(int fd, int level, int name, int value) { return setsockopt(fd, level, name, &value, sizeof value) == 0; }

void enlarge(int fd, int forced, int asked) {
  if (!set(fd, SOL_SOCKET, forced, kernel_buffer)) set(fd, SOL_SOCKET, asked, kernel_buffer);
}

bool bind_to(int fd, int index, uint16_t protocol) {
  sockaddr_ll address{};
  address.sll_family = AF_PACKET;
  address.sll_protocol = htons(protocol);
  address.sll_ifindex = index;
  return bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

bool hear_everything(int fd, int index) {
  packet_mreq promiscuous{};
  promiscuous.mr_ifindex = index;
  promiscuous.mr_type = PACKET_MR_PROMISC;
  return setsockopt(fd, SOL_PACKET, PACKET_ADD_MEMBERSHIP, &promiscuous, sizeof promiscuous) == 0;
}

}  // namespace

struct PacketDevice::Batch {
  std::array<mmsghdr, batch_frames> message{};
  std::array<iovec, batch_frames> part{};
  size_t used = 0;
  std::array<uint8_t, size_t{batch_frames} * longest_frame> room;  // the frames, one behind the other
};

PacketDevice::PacketDevice(int fd, int sender, int index) : fd_(fd), sender_(sender), index_(index), batch_(new Batch) {
  for (unsigned i = 0; i < batch_frames; ++i) {
    batch_->message[i].msg_hdr.msg_iov = &batch_->part[i];
    batch_->message[i].msg_hdr.msg_iovlen = 1;
  }
}

PacketDevice::~PacketDevice() {
  if (ring_ != nullptr) munmap(ring_, static_cast<size_t>(ring_end_ - ring_));
  for (const int fd : {fd_, sender_})
    if (fd >= 0) close(fd);
}

bool PacketDevice::map_ring(uint32_t slots) {
  if (!set(fd_, SOL_PACKET, PACKET_VERSION, TPACKET_V2)) return false;
  set(fd_, SOL_PACKET, PACKET_VNET_HDR, 1);
  set(fd_, SOL_PACKET, PACKET_COPY_THRESH, 1);
  block_ = static_cast<uint32_t>(sysconf(_SC_PAGESIZE));
  slots_a_block_ = block_ / slot_size;
  tpacket_req request{};
  request.tp_block_size = block_;
  request.tp_block_nr = (slots + slots_a_block_ - 1) / slots_a_block_;
  request.tp_frame_size = slot_size;
  request.tp_frame_nr = request.tp_block_nr * slots_a_block_;
  if (setsockopt(fd_, SOL_PACKET, PACKET_RX_RING, &request, sizeof request) != 0) return false;
  const size_t size = size_t{request.tp_block_nr} * block_;
  void* const at = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
  if (at == MAP_FAILED) return false;
  ring_ = slot_ = static_cast<uint8_t*>(at);
  ring_end_ = ring_ + size;
  return true;
}

std::unique_ptr<PacketDevice> PacketDevice::open(const std::string& ifname, uint32_t slots, std::string& error) {
  const int index = static_cast<int>(if_nametoindex(ifname.c_str()));
  if (index == 0) {
    error = "no interface " + ifname;
    return nullptr;
  }
  const int fd = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
  const int sender = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
  std::unique_ptr<PacketDevice> device(new PacketDevice(fd, sender, index));
  set(fd, SOL_PACKET, PACKET_IGNORE_OUTGOING, 1);
  enlarge(fd, SO_RCVBUFFORCE, SO_RCVBUF);
  enlarge(sender, SO_SNDBUFFORCE, SO_SNDBUF);
  if (!device->map_ring(slots) || !bind_to(sender, index, 0) || !bind_to(fd, index, all_protocols) ||
      !hear_everything(fd, index)) {
    error = ifname + ": " + std::strerror(errno);
    return nullptr;
  }
  bring_up(ifname);
  return device;
}

bool PacketDevice::peek(RingFrame& out) {
  auto* const header = reinterpret_cast<tpacket2_hdr*>(slot_);
  const uint32_t status = __atomic_load_n(&header->tp_status, __ATOMIC_ACQUIRE);
  if ((status & TP_STATUS_USER) == 0) return false;
  out.data = slot_ + header->tp_mac;
  out.size = header->tp_snaplen;
  out.usable = header->tp_snaplen == header->tp_len && header->tp_len >= ether_size;
  out.unfinished = (status & TP_STATUS_CSUMNOTREADY) != 0;
  out.stripped = (status & TP_STATUS_VLAN_VALID) != 0;
  out.tci = header->tp_vlan_tci;
  out.tag_type = (status & TP_STATUS_VLAN_TPID_VALID) != 0 ? header->tp_vlan_tpid : type_tag;
  out.large = nullptr;
  if ((status & TP_STATUS_COPY) != 0) read_beside(out);
  return true;
}

void PacketDevice::read_beside(RingFrame& out) {
  if (!beside_) beside_.reset(new uint8_t[beside_room]);
  if (beside_size_ == 0) {
    iovec parts[2] = {{&note_, sizeof note_}, {beside_.get(), beside_room}};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    const ssize_t got = recvmsg(fd_, &message, MSG_DONTWAIT);
    if (got < static_cast<ssize_t>(sizeof note_ + ether_size) || (message.msg_flags & MSG_TRUNC) != 0) return;
    beside_size_ = static_cast<size_t>(got) - sizeof note_;
  }
  out.data = beside_.get();
  out.size = static_cast<uint32_t>(beside_size_);
  out.usable = true;
  if (note_.cut_as == 0 && beside_size_ <= longest_frame) {
    out.unfinished = (note_.flags & OffloadNote::needs_checksum) != 0;
  } else {
    out.unfinished = false;  // the note says what is to be finished, and where
    out.large = &note_;
  }
}

void PacketDevice::pop() {
  auto* const header = reinterpret_cast<tpacket2_hdr*>(slot_);
  __atomic_store_n(&header->tp_status, TP_STATUS_KERNEL, __ATOMIC_RELEASE);
  beside_size_ = 0;
  slot_ += slot_size;
  if (++slot_of_block_ < slots_a_block_) return;
  slot_of_block_ = 0;
  slot_ += block_ - slots_a_block_ * slot_size;
  if (slot_ == ring_end_) slot_ = ring_;
}

bool PacketDevice::queue(std::span<const uint8_t> head, std::span<const uint8_t> rest) {
  const size_t size = head.size() + rest.size();
  if (size > longest_frame) {
    ++counters_.tx_failed;
    return false;
  }
  if (queued_ == batch_frames) flush();
  uint8_t* const room = &batch_->room[batch_->used];
  std::memcpy(room, head.data(), head.size());
  if (!rest.empty()) std::memcpy(room + head.size(), rest.data(), rest.size());
  batch_->part[queued_++] = {room, size};
  batch_->used += size;
  return true;
}

void PacketDevice::send_large(const OffloadNote& note, std::span<const uint8_t> head, std::span<const uint8_t> rest) {
  flush();  // first what came first
  OffloadNote moved = note;
  const auto shift = static_cast<uint16_t>(head.size() - size_t{2} * mac_size);  // a tag moves everything behind it
  if ((note.flags & OffloadNote::needs_checksum) != 0)
    moved.checksum_from = static_cast<uint16_t>(moved.checksum_from + shift);
  if (note.header_size != 0) moved.header_size = static_cast<uint16_t>(moved.header_size + shift);
  std::array<uint8_t, 16> front{};
  std::memcpy(front.data(), head.data(), head.size());
  iovec parts[3] = {
      {&moved, sizeof moved}, {front.data(), head.size()}, {const_cast<uint8_t*>(rest.data()), rest.size()}};
  msghdr message{};
  message.msg_iov = parts;
  message.msg_iovlen = 3;
  if (sendmsg(fd_, &message, MSG_DONTWAIT) < 0) {
    ++counters_.tx_failed;
    return;
  }
  ++counters_.tx_frames;
  counters_.tx_bytes += head.size() + rest.size();
}

void PacketDevice::flush() {
  unsigned from = 0;
  while (from < queued_) {
    const int sent = sendmmsg(sender_, &batch_->message[from], queued_ - from, MSG_DONTWAIT);
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
  batch_->used = 0;
}

void PacketDevice::update_lost() {
  tpacket_stats stats{};
  socklen_t size = sizeof stats;
  if (getsockopt(fd_, SOL_PACKET, PACKET_STATISTICS, &stats, &size) == 0) counters_.rx_lost += stats.tp_drops;
}

}  // namespace dhcp::softswitch
