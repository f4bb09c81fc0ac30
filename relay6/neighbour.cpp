/// A neighbour's MAC, asked for on the wire.
#include <netinet/icmp6.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include "base/guard.h"
#include "base/os.h"
#include "dhcp/packet.h"
#include "packet/neighbour6.h"
#include "relay6/relay6.h"

namespace dhcp::relay6 {

namespace {

constexpr size_t longest_answer = 512;

/// A raw ICMPv6 socket on one interface.
class NeighbourSocket {
 public:
  explicit NeighbourSocket(const char* device)
      : descriptor_(base::os.socket(AF_INET6, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMPV6)) {
    if (ok()) set_up(device);
  }
  ~NeighbourSocket() {
    const base::CancelHold hold;  // closing is a cancellation point, and a destructor must not be left
    if (ok()) close(descriptor_);
  }
  NeighbourSocket(const NeighbourSocket&) = delete;
  NeighbourSocket& operator=(const NeighbourSocket&) = delete;
  bool ok() const { return descriptor_ >= 0; }

  /// To the neighbour's own address: one that is known to the kernel already is asked without a multicast.
  bool solicit(const Ip6& target, const MacAddress& asker) const {
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    target.copy_to(address.sin6_addr.s6_addr);
    const auto message = packet::neighbour_solicitation(target, asker);
    return base::os.send_to(descriptor_, message.data(), message.size(), MSG_DONTWAIT,
                            reinterpret_cast<const sockaddr*>(&address),
                            sizeof address) == static_cast<ssize_t>(message.size());
  }

  /// Waits until the neighbour answers, for `wait_ms` at most, whatever is done to the wall clock; what others say
  /// meanwhile is passed over.
  std::optional<MacAddress> answer(const Ip6& target, uint32_t wait_ms) const {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(wait_ms);
    for (;;) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
      pollfd wait{descriptor_, POLLIN, 0};
      if (poll(&wait, 1, static_cast<int>(std::max<int64_t>(left.count(), 0))) <= 0) break;
      uint8_t message[longest_answer];
      const ssize_t size = recv(descriptor_, message, sizeof message, MSG_DONTWAIT);
      if (size < 0 && errno == EAGAIN) continue;  // it was no whole message after all
      if (size <= 0) break;
      const auto mac = packet::advertised_mac({message, static_cast<size_t>(size)}, target);
      if (mac) return mac;
    }
    return std::nullopt;
  }

 private:
  /// Neighbours discard what has passed a router, so the hop limit is 255 (RFC 4861 section 7.1.1). An option that a
  /// kernel does not know is no reason not to ask.
  void set_up(const char* device) const {
    const int on = 1, all_hops = 255, checksum_at = packet::icmp6_checksum_at;
    icmp6_filter advertisements;
    ICMP6_FILTER_SETBLOCKALL(&advertisements);
    ICMP6_FILTER_SETPASS(ND_NEIGHBOR_ADVERT, &advertisements);
    setsockopt(descriptor_, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    setsockopt(descriptor_, SOL_SOCKET, SO_BINDTODEVICE, device, static_cast<socklen_t>(strlen(device)));
    setsockopt(descriptor_, IPPROTO_IPV6, IPV6_CHECKSUM, &checksum_at, sizeof checksum_at);
    setsockopt(descriptor_, IPPROTO_IPV6, IPV6_UNICAST_HOPS, &all_hops, sizeof all_hops);
    setsockopt(descriptor_, IPPROTO_ICMPV6, ICMP6_FILTER, &advertisements, sizeof advertisements);
  }

  int descriptor_;
};

}  // namespace

}  // namespace dhcp::relay6

int get_ip6_mac(const char* devname, const uint8_t ip6[16], uint8_t mac_out[6], int seconds) {
  using namespace dhcp;
  using base::MacAddress;
  constexpr uint32_t ms_per_s = 1000;
  MacAddress own;
  if (get_nic_address(devname, nullptr, own.bytes.data()) != 0) return -1;
  const relay6::NeighbourSocket socket(devname);
  const base::Ip6 target = base::Ip6::from(ip6);
  if (!socket.ok() || !socket.solicit(target, own)) return -1;
  const auto mac = socket.answer(target, seconds > 0 ? static_cast<uint32_t>(seconds) * ms_per_s : 0);
  if (!mac) return -1;
  std::copy(mac->bytes.begin(), mac->bytes.end(), mac_out);
  DHCP_LOG_AT(base::module_frame, relay6::log_name, "probe,mac : %02x:%02x:%02x:%02x:%02x:%02x", mac_out[0], mac_out[1],
              mac_out[2], mac_out[3], mac_out[4], mac_out[5]);
  return 0;
}
