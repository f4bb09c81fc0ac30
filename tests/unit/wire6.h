/// DHCPv6 as clients, servers and relays send it, and sent frames taken apart, with the test's own idea of the layout.
#pragma once

#include <arpa/inet.h>

#include "tests/unit/wire.h"

namespace wire {

enum Type6 : uint8_t {
  SOLICIT6 = 1,
  ADVERTISE6,
  REQUEST6,
  CONFIRM6,
  RENEW6,
  REBIND6,
  REPLY6,
  RELEASE6,
  DECLINE6,
  RECONFIGURE6,
  INFORMATION6,
  RELAY_FORW6,
  RELAY_REPL6
};

using Ip6 = std::array<uint8_t, 16>;
inline constexpr Mac multicast_mac6{0x33, 0x33, 0, 1, 0, 2};

Ip6 ip6(const char* text);
Bytes bytes_of(const Ip6& address);
/// One option; options are joined with +.
Bytes option6(int code, const Bytes& value);
/// Option 3 or 4 holding `sub_options`.
Bytes ia_na(uint32_t iaid, const Bytes& sub_options, uint32_t t1 = 0, uint32_t t2 = 0);
Bytes ia_ta(uint32_t iaid, const Bytes& sub_options);
Bytes ia_address(const Ip6& address, uint32_t preferred_s, uint32_t valid_s);

/// One frame, by default from a client to all servers on VLAN 10.
class Message6 {
 public:
  Message6(int type, const Mac& source, const Bytes& options = {});
  /// A relay's message instead of a client's: hop count, link and peer in its header.
  static Message6 relayed(int type, const Mac& source, int hops, const Ip6& link, const Ip6& peer,
                          const Bytes& options);
  Message6& xid(uint32_t value);
  Message6& vlan(uint16_t id) { return vlan_ = id, *this; }
  Message6& untagged() { return tagged_ = false, *this; }
  Message6& from_ip(const Ip6& address) { return from_ip_ = address, *this; }
  Message6& to(const Mac& mac, const Ip6& address) { return to_mac_ = mac, to_ip_ = address, *this; }
  /// From a server's port to a client's.
  Message6& from_server() { return from_port_ = 547, to_port_ = 546, *this; }
  /// What the UDP header claims, where it is not the truth.
  Message6& udp_length(uint16_t length) { return claimed_ = length, *this; }
  Bytes frame() const;

 private:
  Bytes message_;
  bool tagged_ = true;
  uint16_t vlan_ = 10, from_port_ = 546, to_port_ = 547;
  int claimed_ = -1;
  Mac source_, to_mac_ = multicast_mac6;
  Ip6 from_ip_, to_ip_;
};

/// A frame taken apart. `faults` names what is wrong with its headers, lengths, checksum and options.
struct Reply6 : Options {
  explicit Reply6(const Bytes& frame);
  std::string faults;
  Mac to_mac{}, from_mac{};
  uint32_t vlan = 0, from_port = 0, to_port = 0, hop_limit = 0;
  Ip6 from_ip{}, to_ip{};
  /// `xid` is a client's message's; hops, link and peer are a relay's.
  uint32_t type = 0, xid = 0, hops = 0;
  Ip6 link{}, peer{};
  Bytes message;
};

}  // namespace wire
