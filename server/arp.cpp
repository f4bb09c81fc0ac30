/// The ARP toolkit (RFC 826): who answers for an address, and with which MAC.
#include "dhcp/arp.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/guard.h"
#include "base/log.h"
#include "base/os.h"
#include "base/text.h"
#include "packet/bytes.h"
#include "packet/layout.h"

namespace {

namespace base = dhcp::base;
namespace arp = dhcp::packet::arp;
namespace eth = dhcp::packet::eth;
using base::module_frame;
using base::module_relay;
using dhcp::packet::load_be16;
using dhcp::packet::load_be32;
using dhcp::packet::store_be16;
using dhcp::packet::store_be32;

constexpr const char* relay_name = "dhcp_relay";
constexpr const char* frame_name = "dhcpc";
constexpr uint16_t query_protocol = 255;  // of a socket that is only asked about interfaces
constexpr int default_timeout_s = 2;

/// The CPU's interface puts six bytes between the type and the ARP message of a received frame.
constexpr size_t lead = 6;
constexpr size_t most_read = 68, least_read = arp::target_mac.end() + lead;

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    const base::CancelHold hold;
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  operator int() const { return number_; }
  int* out() { return &number_; }

 private:
  int number_ = -1;
};

/// Sockets of this kind name the interface in each address: 13 characters and a zero.
bool send_frame(int socket, const uint8_t* frame, const char* ifname) {
  sockaddr to{};
  std::copy_n(ifname, strnlen(ifname, sizeof to.sa_data - 1), to.sa_data);
  return base::os.send_to(socket, frame, DHCP_ARP_FRAME_SIZE, 0, &to, sizeof to) >= 0;
}

bool send_request(int socket, uint32_t target_ip, const ArpIfInfo& sender) {
  uint8_t frame[DHCP_ARP_FRAME_SIZE];
  mkArpMsg(arp::request, target_ip, nullptr, sender.ip, sender.mac, frame);
  return send_frame(socket, frame, sender.name);
}

bool is_reply(const uint8_t* frame, size_t size, uint32_t target_ip, const ArpIfInfo& sender) {
  return size >= least_read && load_be16(frame + lead + arp::operation.offset) == arp::reply &&
         memcmp(frame + lead + arp::target_mac.offset, sender.mac, sizeof sender.mac) == 0 &&
         load_be32(frame + lead + arp::sender_ip.offset) == target_ip;
}

enum class Fault { wait, receive };

/// Reads until the reply is there or the time is over. `fault(which, errno)` hears of calls that failed; the waiting
/// goes on. True when `mac_out` (which may be null) was answered.
template <class OnFault>
bool await_reply(int socket, uint32_t target_ip, const ArpIfInfo& sender, int timeout_s, uint8_t* mac_out,
                 OnFault fault) {
  constexpr int longest_wait_s = 3600;
  int left_s = std::min(timeout_s, longest_wait_s);
  uint32_t checked = base::now32();
  while (left_s > 0) {
    pollfd wait{socket, POLLIN, 0};
    const int ready = poll(&wait, 1, left_s * 1000);
    if (ready == 0) return false;  // the whole time has passed, whatever the clock was set to meanwhile
    if (ready < 0) fault(Fault::wait, errno);
    if (ready > 0) {
      uint8_t frame[most_read];
      const ssize_t size = recv(socket, frame, sizeof frame, MSG_DONTWAIT);
      if (size < 0 && errno != EAGAIN) fault(Fault::receive, errno);
      if (size > 0 && is_reply(frame, static_cast<size_t>(size), target_ip, sender)) {
        if (mac_out != nullptr) std::copy_n(frame + lead + arp::sender_mac.offset, arp::sender_mac.size, mac_out);
        return true;
      }
    }
    const uint32_t now = base::now32();
    left_s -= std::max(0, static_cast<int>(now - checked));
    checked = now;
  }
  return false;
}

enum class Interface { known, no_socket, no_mac, no_ip };

Interface read_interface(const char* ifname, ArpIfInfo& out) {
  const Descriptor query(base::os.socket(AF_INET, SOCK_PACKET | SOCK_CLOEXEC, htons(query_protocol)));
  if (query < 0) return Interface::no_socket;
  out = {};
  strncpy(out.name, ifname, sizeof out.name - 1);
  ifreq request{};
  static_assert(sizeof request.ifr_name == sizeof out.name);
  memcpy(request.ifr_name, out.name, sizeof out.name);
  if (base::os.query_interface(query, SIOCGIFHWADDR, &request) < 0) return Interface::no_mac;
  memcpy(out.mac, request.ifr_hwaddr.sa_data, sizeof out.mac);
  if (base::os.query_interface(query, SIOCGIFADDR, &request) < 0) return Interface::no_ip;
  sockaddr_in address{};
  memcpy(&address, &request.ifr_addr, sizeof address);
  out.ip = base::host_from_network(address.sin_addr.s_addr);
  return Interface::known;
}

}  // namespace

void mkArpMsg(int operation, uint32_t target_ip, const uint8_t* target_mac, uint32_t sender_ip,
              const uint8_t sender_mac[6], uint8_t frame_out[DHCP_ARP_FRAME_SIZE]) {
  constexpr uint8_t mac_length = 6, ip_length = 4;
  std::fill_n(frame_out, static_cast<size_t>(DHCP_ARP_FRAME_SIZE), uint8_t{0});
  std::fill_n(frame_out + eth::destination.offset, eth::destination.size, uint8_t{0xff});
  std::copy_n(sender_mac, mac_length, frame_out + eth::source.offset);
  store_be16(frame_out + eth::tpid.offset, eth::type_arp);  // untagged: the type stands where a tag would
  store_be16(frame_out + arp::hardware.offset, arp::hardware_ethernet);
  store_be16(frame_out + arp::protocol.offset, eth::type_ipv4);
  frame_out[arp::hardware_length.offset] = mac_length;
  frame_out[arp::protocol_length.offset] = ip_length;
  store_be16(frame_out + arp::operation.offset, static_cast<uint16_t>(operation));
  std::copy_n(sender_mac, mac_length, frame_out + arp::sender_mac.offset);
  store_be32(frame_out + arp::sender_ip.offset, sender_ip);
  if (operation == arp::reply && target_mac != nullptr) {
    std::copy_n(target_mac, mac_length, frame_out + arp::target_mac.offset);
  }
  store_be32(frame_out + arp::target_ip.offset, target_ip);
}

int openRawSocket(int* socket_out, uint16_t protocol) {
  *socket_out = base::os.socket(AF_INET, SOCK_PACKET | SOCK_CLOEXEC, htons(protocol));
  if (*socket_out < 0) {
    DHCP_LOG_AT(module_frame, frame_name, "Could not open raw socket");
    return -1;
  }
  const int on = 1;
  if (setsockopt(*socket_out, SOL_SOCKET, SO_BROADCAST, &on, sizeof on) == 0) return 0;
  DHCP_LOG_AT(module_frame, frame_name, "Could not setsocketopt on raw socket");
  close(*socket_out);
  *socket_out = -1;
  return -1;
}

int getmac(uint32_t target_ip, const ArpIfInfo* sender, int timeout_s, uint8_t* mac_out) {
  Descriptor socket;
  openRawSocket(socket.out(), eth::type_arp);  // without it nothing can be sent, which is told below
  if (!send_request(socket, target_ip, *sender)) {
    DHCP_LOG_AT(module_relay, relay_name, " send arp failed!\n");
    return -1;
  }
  int result = 1;
  const bool answered = await_reply(socket, target_ip, *sender, timeout_s, mac_out, [&](Fault fault, int error) {
    if (fault == Fault::receive) result = -2;
    if (fault == Fault::wait && error != EINTR) result = -3;
  });
  return answered ? 0 : result;
}

int get_ip_mac(const char* ifname, uint32_t target_ip, uint8_t* mac_out, int timeout_s) {
  DHCP_LOG_AT(module_relay, relay_name, "interface:%s yiaddr:%s", ifname, base::IpText(target_ip).c_str());
  ArpIfInfo sender;
  switch (read_interface(ifname, sender)) {
    case Interface::known: return getmac(target_ip, &sender, timeout_s, mac_out);
    case Interface::no_socket: DHCP_LOG_AT(module_relay, relay_name, "failed to create tx raw socket!\n"); return -1;
    case Interface::no_mac: DHCP_LOG_AT(module_relay, relay_name, " failed to get IF hw address!\n"); return -1;
    case Interface::no_ip: DHCP_LOG_AT(module_relay, relay_name, "failed to get if ip address!"); return -1;
  }
  return -1;
}

int arpCheck(uint32_t target_ip, const ArpIfInfo* sender, int timeout_s) {
  Descriptor socket;
  openRawSocket(socket.out(), eth::type_arp);
  int result = send_request(socket, target_ip, *sender) ? 1 : 0;
  const bool answered = await_reply(socket, target_ip, *sender, timeout_s, nullptr, [&](Fault fault, int error) {
    if (fault == Fault::wait) {
      DHCP_LOG_IN("arpCheck", module_frame, frame_name, "Error on ARPING request: errno=%d", error);
    }
    if (fault == Fault::receive || error != EINTR) result = 0;
  });
  if (answered) {
    DHCP_LOG_AT(module_frame, frame_name, "Valid arp reply receved for this address");
    result = 0;
  }
  DHCP_LOG_AT(module_frame, frame_name, "%salid arp replies for this address", result == 1 ? "No v" : "V");
  return result;
}

int __arpping(uint32_t target_ip, const char* ifname) {
  ArpIfInfo sender;
  switch (read_interface(ifname, sender)) {
    case Interface::known: return arpCheck(target_ip, &sender, default_timeout_s);
    case Interface::no_socket:
      DHCP_LOG_AT(module_frame, frame_name, "failed to create tx raw socket!\n");
      printf("failed to create tx raw socket!");
      return 0;
    case Interface::no_mac:
      DHCP_LOG_AT(module_frame, frame_name, " failed to get IF hw address!\n");
      printf("%s: failed to get IF hw address!\n", ifname);
      return 0;
    case Interface::no_ip:
      DHCP_LOG_AT(module_frame, frame_name, "failed to get if ip address!");
      printf("failed to get if ip address!");
      return 0;
  }
  return 0;
}

int arpping(uint32_t target_ip, uint32_t sender_ip, const uint8_t sender_mac[6], const char* ifname) {
  ArpIfInfo sender{};
  strncpy(sender.name, ifname, sizeof sender.name - 1);
  sender.ip = sender_ip;
  std::copy_n(sender_mac, sizeof sender.mac, sender.mac);
  return arpCheck(target_ip, &sender, default_timeout_s);
}

void dumppacket(const uint8_t* bytes, int length) {
  constexpr int row = 16, half = 8;
  if (length <= 0) return;
  printf("[%03d] DUMP PACKET ----------- BGN", length);
  for (int i = 0; i < length; ++i) {
    if (i % row == 0) printf("\n(%03x) ", static_cast<unsigned>(i));
    printf("%02X ", bytes[i]);
    if (i % row == half - 1) printf("  ");
  }
  printf("\n[%03d] DUMP PACKET ----------- END\n", length);
}
