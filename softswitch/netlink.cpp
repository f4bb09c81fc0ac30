#include "softswitch/netlink.h"

#include <linux/rtnetlink.h>
#include <linux/veth.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace dhcp::softswitch {
namespace {

/// A netlink message being written; attributes nest by begin() and end().
class Request {
 public:
  Request(uint16_t type, uint16_t flags) {
    nlmsghdr header{};
    header.nlmsg_type = type;
    header.nlmsg_flags = static_cast<uint16_t>(NLM_F_REQUEST | NLM_F_ACK | flags);
    put(&header, sizeof header);
  }

  void put(const void* data, size_t size) {
    const auto* from = static_cast<const uint8_t*>(data);
    bytes_.insert(bytes_.end(), from, from + size);
    bytes_.resize(NLMSG_ALIGN(bytes_.size()));
  }

  size_t begin(uint16_t type) {
    const size_t at = bytes_.size();
    const rtattr attribute{sizeof(rtattr), type};
    put(&attribute, sizeof attribute);
    return at;
  }

  void end(size_t at) {
    const auto length = static_cast<uint16_t>(bytes_.size() - at);
    std::memcpy(&bytes_[at], &length, sizeof length);
  }

  void attribute(uint16_t type, const void* data, size_t size) {
    const rtattr head{static_cast<unsigned short>(sizeof(rtattr) + size), type};
    put(&head, sizeof head);
    put(data, size);
  }

  void text(uint16_t type, const std::string& value) { attribute(type, value.c_str(), value.size() + 1); }

  std::string send();

 private:
  std::vector<uint8_t> bytes_;
};

std::string Request::send() {
  const auto length = static_cast<uint32_t>(bytes_.size());
  std::memcpy(bytes_.data(), &length, sizeof length);
  const int fd = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
  if (fd < 0) return std::strerror(errno);
  uint8_t answer[4096];
  const bool answered = ::send(fd, bytes_.data(), bytes_.size(), 0) >= 0 &&
                        recv(fd, answer, sizeof answer, 0) >= static_cast<ssize_t>(NLMSG_LENGTH(sizeof(nlmsgerr)));
  int code = answered ? 0 : -errno;
  close(fd);
  if (answered) std::memcpy(&code, answer + NLMSG_HDRLEN, sizeof code);  // nlmsgerr begins with the error
  return code == 0 ? std::string() : std::strerror(-code);
}

}  // namespace

std::string netlink_create_pair(const std::string& name, const std::string& peer, const std::array<uint8_t, 6>& mac) {
  Request request(RTM_NEWLINK, NLM_F_CREATE | NLM_F_EXCL);
  const ifinfomsg link{};
  request.put(&link, sizeof link);
  request.text(IFLA_IFNAME, name);
  request.attribute(IFLA_ADDRESS, mac.data(), mac.size());
  const size_t info = request.begin(IFLA_LINKINFO);
  request.text(IFLA_INFO_KIND, "veth");
  const size_t data = request.begin(IFLA_INFO_DATA);
  const size_t other = request.begin(VETH_INFO_PEER);
  request.put(&link, sizeof link);
  request.text(IFLA_IFNAME, peer);
  request.end(other);
  request.end(data);
  request.end(info);
  return request.send();
}

std::string netlink_delete(const std::string& name) {
  Request request(RTM_DELLINK, 0);
  ifinfomsg link{};
  link.ifi_index = static_cast<int>(if_nametoindex(name.c_str()));
  if (link.ifi_index == 0) return "no interface " + name;
  request.put(&link, sizeof link);
  return request.send();
}

}  // namespace dhcp::softswitch
