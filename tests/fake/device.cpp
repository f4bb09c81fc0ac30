#include "tests/fake/device.h"

#include <net/if.h>
#include <netinet/in.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>

#include "base/os.h"
#include "packet/bytes.h"
#include "platform/log.h"
#include "platform/security.h"

namespace fake {

namespace {

constexpr size_t arp_record_size = 2126;

std::unique_ptr<Device> current = std::make_unique<Device>();

/// Lets a millisecond pass instead of the time asked for: a cancellation point, like the real one, but not while it
/// sleeps. A thread that is cancelled within nanosleep() is one whose locks ThreadSanitizer no longer sees: what its
/// destructors do under a lock would be reported as a race.
void sleep_us(uint32_t micros) {
  current->slept_ms_ += micros / 1000;
  int before = 0;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
  const timespec moment{0, 1000000};
  nanosleep(&moment, nullptr);
  pthread_setcancelstate(before, nullptr);
  pthread_testcancel();
}

/// Its other end is kept, to put in what the network would bring; the one of a closed socket goes when its number comes
/// again.
int make_raw_socket(int flags) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_DGRAM | flags, 0, ends) != 0) return -1;
  const std::lock_guard lock(current->mutex_);
  const auto [at, fresh] = current->raw_peers_.try_emplace(ends[0], ends[1]);
  if (!fresh) close(std::exchange(at->second, ends[1]));
  return ends[0];
}

int make_socket(int domain, int type, int protocol) {
  current->call("socket(" + std::to_string(domain) + "," + std::to_string(protocol) + ")");
  if (current->sockets_cannot_be_made) {
    errno = EMFILE;
    return -1;
  }
  // A raw socket needs rights that a test has no use for.
  if ((type & 0xf) == SOCK_PACKET || protocol == IPPROTO_ICMPV6) return make_raw_socket(type & SOCK_CLOEXEC);
  return domain == AF_PACKET ? ::socket(AF_UNIX, SOCK_DGRAM, 0) : ::socket(domain, type, protocol);
}

std::string dotted(const uint8_t* ip) {
  return std::to_string(ip[0]) + "." + std::to_string(ip[1]) + "." + std::to_string(ip[2]) + "." +
         std::to_string(ip[3]);
}

/// What an ARP request brings in: the host's reply, its ARP fields six bytes further back than where they are sent.
std::vector<std::vector<uint8_t>> arp_answers(const std::vector<uint8_t>& request, const std::string& interface) {
  const uint8_t* asked = &request[38];
  current->arp_requests_.push_back(interface + " " + dotted(asked));
  if (current->on_arp) return current->on_arp(request);
  const auto host = current->arp_hosts.find(dhcp::packet::load_be32(asked));
  if (host == current->arp_hosts.end()) return {};
  std::vector<uint8_t> reply(66);
  std::copy_n(request.begin() + 14, 6, reply.begin() + 20);         // hardware, protocol, lengths
  reply[27] = 2;                                                    // operation
  std::copy(host->second.begin(), host->second.end(), &reply[28]);  // sender
  std::copy_n(asked, 4, reply.begin() + 34);
  std::copy_n(request.begin() + 22, 10, reply.begin() + 38);  // target: who asked
  return {reply};
}

/// What a neighbour solicitation brings in: what others say, and the neighbour's advertisement.
std::vector<std::vector<uint8_t>> advertisements(const std::vector<uint8_t>& solicitation) {
  current->solicitations_.push_back(solicitation);
  auto messages = current->icmp6_before;
  std::array<uint8_t, 16> asked{};
  std::copy_n(solicitation.begin() + 8, asked.size(), asked.begin());
  const auto found = current->neighbours6.find(asked);
  if (found == current->neighbours6.end()) return messages;
  std::vector<uint8_t> answer{136, 0, 0, 0, 0x60, 0, 0, 0};
  answer.insert(answer.end(), asked.begin(), asked.end());
  answer.insert(answer.end(), {2, 1});
  answer.insert(answer.end(), found->second.begin(), found->second.end());
  messages.push_back(answer);
  return messages;
}

/// What is sent by a raw socket asks for a MAC: the answers are waiting at once. For ARP the address names the
/// interface.
ssize_t send_raw(int socket, const void* data, size_t size, int, const sockaddr* to, unsigned) {
  const std::lock_guard lock(current->mutex_);
  const auto peer = current->raw_peers_.find(socket);
  if (peer == current->raw_peers_.end() || current->arp_cannot_be_sent) return errno = ENETDOWN, -1;
  const auto* bytes = static_cast<const uint8_t*>(data);
  const std::vector<uint8_t> request(bytes, bytes + size);
  for (const auto& frame : to->sa_family == AF_INET6 ? advertisements(request) : arp_answers(request, to->sa_data)) {
    send(peer->second, frame.data(), frame.size(), MSG_DONTWAIT);
  }
  return static_cast<ssize_t>(size);
}

/// "eth0" answers with the device's MAC, "eth0.N" with the interface of VLAN N.
int query_interface(int, unsigned long request, ifreq* answer) {
  const std::string name(answer->ifr_name);
  VlanInterface interface { 0, Device::default_mac };
  if (name != "eth0") {
    const auto dot = name.find('.');
    const auto found = current->vlan_interfaces.find(
        dot == std::string::npos ? 0u : static_cast<uint32_t>(stoul(name.substr(dot + 1))));
    if (found == current->vlan_interfaces.end()) return errno = ENODEV, -1;
    interface = found->second;
  }
  if (current->interfaces_without_answer.count(name) != 0) return errno = EADDRNOTAVAIL, -1;
  if (request == SIOCGIFADDR) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(interface.ip);
    memcpy(&answer->ifr_addr, &address, sizeof address);
  } else {
    memcpy(answer->ifr_hwaddr.sa_data, interface.mac.data(), interface.mac.size());
  }
  return 0;
}

/// The text behind "[function:line]" or "[function : line]"; nothing when the line does not begin so.
std::string behind_place(const std::string& text) {
  const auto close = text.find(']');
  const auto colon = text.find(':');
  if (text.empty() || text[0] != '[' || close == std::string::npos || colon > close) return "(no place)" + text;
  const std::string line = text.substr(colon + 1, close - colon - 1);
  if (line.find_first_not_of(" 0123456789") != std::string::npos) return "(no place)" + text;
  return text.substr(close + 1);
}

}  // namespace

Device& device() { return *current; }

void reset() {
  fail_allocations(0);
  current = std::make_unique<Device>();
  std::fill_n(arpr_cfg, arp_record_size, uint8_t{0});
  dhcp::base::os = {[] { return current->now.load(); }, sleep_us, query_interface, make_socket};
  dhcp::base::os.send_to = send_raw;
  dhcp::base::os.ticks_us = [] {
    static std::atomic<uint32_t> ticks{0};  // goes on from device to device
    return uint64_t{ticks += current->ticks_a_look_us};
  };
}

int Device::logged(const std::string& text, const std::string& name) const {
  const auto lines = log();
  return static_cast<int>(std::count_if(lines.begin(), lines.end(), [&](const LogLine& line) {
    return line.text == text && (name.empty() || line.name == name);
  }));
}

int Device::logged_at(const std::string& text, const std::string& name) const {
  const auto lines = log();
  return static_cast<int>(std::count_if(lines.begin(), lines.end(), [&](const LogLine& line) {
    return behind_place(line.text) == text && (name.empty() || line.name == name);
  }));
}

std::vector<Sent> Device::take_sent() {
  const std::lock_guard lock(mutex_);
  return std::exchange(sent_, {});
}

void Device::forget() {
  const std::lock_guard lock(mutex_);
  for (auto* list : {&calls_, &neighbour_calls_, &task_events_, &arp_requests_}) list->clear();
  log_.clear();
  traces_.clear();
  solicitations_.clear();
  released_.clear();
}

std::vector<std::vector<uint8_t>> Device::take_solicitations() {
  const std::lock_guard lock(mutex_);
  return std::exchange(solicitations_, {});
}

std::vector<std::string> Device::take_neighbour_calls() {
  const std::lock_guard lock(mutex_);
  return std::exchange(neighbour_calls_, {});
}

const std::string& Device::temp_directory() {
  if (temp_directory_.empty()) {
    std::string name = std::filesystem::temp_directory_path() / "dhcp_unit_XXXXXX";
    if (mkdtemp(name.data()) != nullptr) temp_directory_ = name;
  }
  return temp_directory_;
}

Device::~Device() {
  for (const auto& [socket, peer] : raw_peers_) close(peer);
  if (!temp_directory_.empty()) std::filesystem::remove_all(temp_directory_);
}

}  // namespace fake
