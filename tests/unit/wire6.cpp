#include "tests/unit/wire6.h"

namespace wire {

namespace {

constexpr size_t ip_at = 18, udp_at = 58, message_at = 66;

/// UDP checksum over pseudo-header, header and payload (RFC 8200 section 8.1): 0xffff when it holds.
uint32_t udp_sum(const Bytes& frame) {
  const Bytes udp = slice(frame, udp_at, frame.size() - udp_at);
  return folded_sum(slice(frame, ip_at + 8, 32) + be32(static_cast<uint32_t>(udp.size())) + Bytes{0, 0, 0, 17} + udp);
}

}  // namespace

Ip6 ip6(const char* text) {
  Ip6 address{};
  inet_pton(AF_INET6, text, address.data());
  return address;
}

Bytes bytes_of(const Ip6& address) { return {address.begin(), address.end()}; }

Bytes option6(int code, const Bytes& value) { return be16(static_cast<size_t>(code)) + be16(value.size()) + value; }

Bytes ia_na(uint32_t iaid, const Bytes& sub_options, uint32_t t1, uint32_t t2) {
  return option6(3, be32(iaid) + be32(t1) + be32(t2) + sub_options);
}

Bytes ia_ta(uint32_t iaid, const Bytes& sub_options) { return option6(4, be32(iaid) + sub_options); }

Bytes ia_address(const Ip6& address, uint32_t preferred_s, uint32_t valid_s) {
  return option6(5, bytes_of(address) + be32(preferred_s) + be32(valid_s));
}

Message6::Message6(int type, const Mac& source, const Bytes& options)
    : message_(Bytes{static_cast<uint8_t>(type), 0x12, 0x34, 0x56} + options),
      source_(source),
      from_ip_(ip6("fe80::2")),
      to_ip_(ip6("ff02::1:2")) {}

Message6 Message6::relayed(int type, const Mac& source, int hops, const Ip6& link, const Ip6& peer,
                           const Bytes& options) {
  Message6 made(type, source);
  made.message_ =
      Bytes{static_cast<uint8_t>(type), static_cast<uint8_t>(hops)} + bytes_of(link) + bytes_of(peer) + options;
  return made;
}

Message6& Message6::xid(uint32_t value) {
  const Bytes wire = be32(value);
  std::copy(wire.begin() + 1, wire.end(), message_.begin() + 1);
  return *this;
}

Bytes Message6::frame() const {
  const size_t length = 8 + message_.size();
  const Bytes tag = tagged_ ? Bytes{0x81, 0x00} + be16(vlan_) : Bytes{};
  const Bytes udp = be16(from_port_) + be16(to_port_) + be16(claimed_ >= 0 ? static_cast<size_t>(claimed_) : length) +
                    Bytes{0, 0} + message_;
  return Bytes(to_mac_.begin(), to_mac_.end()) + Bytes(source_.begin(), source_.end()) + tag + Bytes{0x86, 0xdd} +
         Bytes{0x60, 0, 0, 0} + be16(length) + Bytes{17, 64} + bytes_of(from_ip_) + bytes_of(to_ip_) + udp;
}

Reply6::Reply6(const Bytes& f) {
  const auto check = [this](bool holds, const char* what) {
    if (!holds) faults += std::string(faults.empty() ? "" : ", ") + what;
  };
  check(f.size() >= message_at + 4, "length");
  if (!faults.empty()) return;
  check(number_at(f, 12, 2) == 0x8100 && number_at(f, 16, 2) == 0x86dd, "Ethernet types");
  check(number_at(f, ip_at, 4) == 0x60000000, "IPv6 version, class or flow");
  check(number_at(f, ip_at + 4, 2) == f.size() - udp_at, "IPv6 length");
  check(f[ip_at + 6] == 17, "next header");
  check(number_at(f, udp_at + 4, 2) == f.size() - udp_at, "UDP length");
  check(udp_sum(f) == 0xffff && number_at(f, udp_at + 6, 2) != 0, "UDP checksum");
  to_mac = array_at<Mac>(f, 0);
  from_mac = array_at<Mac>(f, 6);
  vlan = number_at(f, 14, 2);
  hop_limit = f[ip_at + 7];
  from_ip = array_at<Ip6>(f, ip_at + 8);
  to_ip = array_at<Ip6>(f, ip_at + 24);
  from_port = number_at(f, udp_at, 2);
  to_port = number_at(f, udp_at + 2, 2);

  message = slice(f, message_at, f.size() - message_at);
  type = message[0];
  const bool relays = type == RELAY_FORW6 || type == RELAY_REPL6;
  check(!relays || message.size() >= 34, "relay header");
  if (!faults.empty()) return;
  if (relays) {
    hops = message[1];
    link = array_at<Ip6>(message, 2);
    peer = array_at<Ip6>(message, 18);
  } else {
    xid = number_at(message, 1, 3);
  }
  size_t at = relays ? 34 : 4;
  while (at + 4 <= message.size() && at + 4 + number_at(message, at + 2, 2) <= message.size()) {
    const size_t size = number_at(message, at + 2, 2);
    options.emplace_back(number_at(message, at, 2), slice(message, at + 4, size));
    at += 4 + size;
  }
  check(at == message.size(), "options");
}

}  // namespace wire
