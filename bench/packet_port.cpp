#include "bench/packet_port.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

namespace dhcp::bench {

namespace {

// Small enough to stay in the processor's cache: what a frame costs to deliver counts as its sender's.
constexpr size_t slot_size = 2048, slots_per_block = 32, blocks = 8;
constexpr size_t slots = slots_per_block * blocks, ring_size = slots * slot_size;

bool fail(const char* what, std::string& error) {
  error = std::string(what) + ": " + strerror(errno);
  return false;
}

}  // namespace

bool PacketPort::open(const std::string& ifname, uint16_t ethertype, std::string& error) {
  const unsigned index = if_nametoindex(ifname.c_str());
  if (index == 0) return fail(ifname.c_str(), error);
  fd_ = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
  if (fd_ < 0) return fail("packet socket", error);

  const int version = TPACKET_V2, on = 1;
  tpacket_req request{};
  request.tp_block_size = slot_size * slots_per_block;
  request.tp_block_nr = blocks;
  request.tp_frame_size = slot_size;
  request.tp_frame_nr = slots;
  if (setsockopt(fd_, SOL_PACKET, PACKET_VERSION, &version, sizeof version) != 0 ||
      setsockopt(fd_, SOL_PACKET, PACKET_RX_RING, &request, sizeof request) != 0) {
    return fail("receive ring", error);
  }
  // Both only save time: older kernels do without.
  setsockopt(fd_, SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on);
  setsockopt(fd_, SOL_PACKET, PACKET_QDISC_BYPASS, &on, sizeof on);
  void* mapped = mmap(nullptr, ring_size, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
  if (mapped == MAP_FAILED) return fail("ring memory", error);
  ring_ = static_cast<uint8_t*>(mapped);

  sockaddr_ll address{};
  address.sll_family = AF_PACKET;
  address.sll_ifindex = static_cast<int>(index);
  address.sll_protocol = htons(ethertype);
  if (bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return fail("bind", error);
  return true;
}

PacketPort::~PacketPort() {
  if (ring_ != nullptr) munmap(ring_, ring_size);
  if (fd_ >= 0) close(fd_);
}

tpacket2_hdr* PacketPort::slot() const { return reinterpret_cast<tpacket2_hdr*>(ring_ + next_ * slot_size); }

std::span<uint8_t> PacketPort::front() {
  tpacket2_hdr* header = slot();
  if ((__atomic_load_n(&header->tp_status, __ATOMIC_ACQUIRE) & TP_STATUS_USER) == 0) return {};
  return {reinterpret_cast<uint8_t*>(header) + header->tp_mac, header->tp_snaplen};
}

void PacketPort::release() {
  __atomic_store_n(&slot()->tp_status, uint32_t{TP_STATUS_KERNEL}, __ATOMIC_RELEASE);
  next_ = (next_ + 1) % slots;
}

void PacketPort::send(std::span<const uint8_t> frame) {
  parts_[pending_] = {const_cast<uint8_t*>(frame.data()), frame.size()};
  messages_[pending_].msg_hdr.msg_iov = &parts_[pending_];
  messages_[pending_].msg_hdr.msg_iovlen = 1;
  if (++pending_ == batch) flush();
}

void PacketPort::flush() {
  size_t done = 0;
  while (done < pending_) {
    const int sent = sendmmsg(fd_, &messages_[done], static_cast<unsigned>(pending_ - done), 0);
    if (sent > 0) {
      done += static_cast<size_t>(sent);
    } else if (errno != EINTR) {
      ++refused_;
      ++done;
    }
  }
  pending_ = 0;
}

void PacketPort::wait(int64_t timeout_ns) const {
  if (timeout_ns <= 0) return;
  pollfd waiting{fd_, POLLIN, 0};
  const timespec limit{timeout_ns / 1000000000, timeout_ns % 1000000000};
  ppoll(&waiting, 1, &limit, nullptr);
}

uint64_t PacketPort::overrun() const {
  tpacket_stats stats{};
  socklen_t size = sizeof stats;
  if (getsockopt(fd_, SOL_PACKET, PACKET_STATISTICS, &stats, &size) != 0) return 0;
  return stats.tp_drops;
}

}  // namespace dhcp::bench
