#include "tests/unit/wire.h"

namespace wire {

namespace {

constexpr size_t ip_at = 18, udp_at = 38, message_at = 46, options_at = 240;

void put(Bytes& bytes, size_t offset, const Bytes& value) {
  std::copy(value.begin(), value.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

/// Checksum over UDP header, payload and pseudo-header (RFC 768).
bool udp_sum_holds(const Bytes& frame) {
  return folded_sum(slice(frame, ip_at + 12, 8) + Bytes{0, 17} + slice(frame, udp_at + 4, 2) +
                    slice(frame, udp_at, frame.size() - udp_at)) == 0xffff;
}

}  // namespace

Bytes be32(uint32_t value) {
  return {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 8),
          static_cast<uint8_t>(value)};
}

Bytes be16(size_t value) { return {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)}; }

Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

uint32_t folded_sum(const Bytes& bytes) {
  uint32_t sum = 0;
  for (size_t i = 0; i < bytes.size(); ++i) sum += static_cast<uint32_t>(bytes[i]) << (i % 2 == 0 ? 8 : 0);
  while (sum > 0xffff) sum = (sum & 0xffff) + (sum >> 16);
  return sum;
}

Bytes slice(const Bytes& bytes, size_t offset, size_t size) {
  const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
  return {begin, begin + static_cast<std::ptrdiff_t>(size)};
}

uint32_t number_at(const Bytes& bytes, size_t offset, size_t size) {
  uint32_t value = 0;
  for (size_t i = 0; i < size; ++i) value = value << 8 | bytes.at(offset + i);
  return value;
}

Message::Message(int type, const Mac& client) : fixed_(options_at), source_(client) {
  at(0, {1, 1, 6, 0}).xid(0x3903f326).at(28, {client.begin(), client.end()}).at(236, {0x63, 0x82, 0x53, 0x63});
  if (type != 0) option(53, {static_cast<uint8_t>(type)});
}

Message& Message::option(uint8_t code, const Bytes& value) {
  options_ = options_ + Bytes{code, static_cast<uint8_t>(value.size())} + value;
  return *this;
}

Message& Message::raw_options(const Bytes& bytes) {
  options_ = bytes;
  end_ = false;
  return *this;
}

Message& Message::at(size_t offset, const Bytes& bytes) {
  put(fixed_, offset, bytes);
  return *this;
}

Bytes Message::frame() const {
  Bytes message = fixed_;
  message = message + options_;
  if (end_) message.push_back(255);

  Bytes frame(message_at);
  put(frame, 0, {to_mac_.begin(), to_mac_.end()});
  put(frame, 6, {source_.begin(), source_.end()});
  put(frame, 12, {0x81, 0x00});
  put(frame, 14, be16(vlan_));
  put(frame, 16, {0x08, 0x00});
  put(frame, ip_at, {0x45, 0});
  put(frame, ip_at + 2, be16(28 + message.size()));
  put(frame, ip_at + 8, {64, 17});
  put(frame, ip_at + 12, from_ip_ != 0 ? be32(from_ip_) : slice(fixed_, 12, 4));  // a client speaks from its own
  put(frame, ip_at + 16, be32(to_ip_));
  put(frame, ip_at + 10, be16(~folded_sum(slice(frame, ip_at, 20)) & 0xffff));
  put(frame, udp_at, {0, 68, 0, 67});
  put(frame, udp_at + 4, be16(8 + message.size()));
  frame = frame + message;
  if (!tagged_) frame.erase(frame.begin() + 12, frame.begin() + 16);
  return frame;
}

Received::Received(const Bytes& frame, uint32_t port, size_t room)
    : storage_(new uint8_t[std::max(frame.size(), room)]) {
  std::copy(frame.begin(), frame.end(), storage_.get());
  skp_.users = 1;
  skp_.head = skp_.data = storage_.get();
  skp_.psize = static_cast<uint32_t>(frame.size());
  skp_.in_intf = port;
  __adp_receive_frame(&skp_, 1);
}

Reply::Reply(const fake::Sent& frame_sent) : sent(frame_sent) {
  const Bytes& f = sent.bytes;
  const auto check = [this](bool holds, const char* what) {
    if (!holds) faults += std::string(faults.empty() ? "" : ", ") + what;
  };
  check(f.size() > message_at + options_at, "length");
  if (!faults.empty()) return;
  check(number_at(f, 12, 2) == 0x8100 && number_at(f, 16, 2) == 0x0800, "Ethernet types");
  check(number_at(f, ip_at, 2) == 0x4500 && number_at(f, ip_at + 4, 4) == 0, "IPv4 version, TOS, id or fragment");
  check(number_at(f, ip_at + 2, 2) == f.size() - ip_at, "IPv4 length");
  check(f[ip_at + 8] == 64 && f[ip_at + 9] == 17, "TTL or protocol");
  check(folded_sum(slice(f, ip_at, 20)) == 0xffff, "IPv4 checksum");
  check(number_at(f, udp_at, 4) == (67u << 16 | 68), "ports");
  check(number_at(f, udp_at + 4, 2) == f.size() - udp_at, "UDP length");
  check(number_at(f, udp_at + 6, 2) == 0 || udp_sum_holds(f), "UDP checksum");
  check(number_at(f, udp_at + 6, 2) != 0, "UDP checksum missing");
  to_mac = array_at<Mac>(f, 0);
  from_mac = array_at<Mac>(f, 6);
  vlan = number_at(f, 14, 2);
  from_ip = number_at(f, ip_at + 12, 4);
  to_ip = number_at(f, ip_at + 16, 4);

  message = slice(f, message_at, f.size() - message_at);
  check(number_at(message, 0, 4) == 0x02010600, "op, htype, hlen or hops");
  check(number_at(message, 236, 4) == 0x63825363, "cookie");
  xid = number_at(message, 4, 4);
  flags = number_at(message, 10, 2);
  ciaddr = number_at(message, 12, 4);
  yiaddr = number_at(message, 16, 4);
  siaddr = number_at(message, 20, 4);
  giaddr = number_at(message, 24, 4);

  size_t at = options_at;
  while (at + 1 < message.size() && message[at] != 255 && at + 2 + message[at + 1] <= message.size()) {
    options.emplace_back(message[at], slice(message, at + 2, message[at + 1]));
    at += 2u + message[at + 1];
  }
  check(at + 1 == message.size() && message[at] == 255, "end option");
  type = options.empty() || options[0].first != 53 ? 0 : number_at(options[0].second, 0, 1);
}

std::vector<int> Options::codes() const {
  std::vector<int> codes;
  for (const auto& [code, value] : options) codes.push_back(code);
  return codes;
}

Bytes Options::option(int code) const {
  const auto found = std::find_if(options.begin(), options.end(), [code](const auto& o) { return o.first == code; });
  return found == options.end() ? Bytes{} : found->second;
}

}  // namespace wire
