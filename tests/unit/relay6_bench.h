/// The DHCPv6 relay between clients on VLANs 10 and 11 and servers on VLAN 20.
#pragma once

#include "dhcp/relay6.h"
#include "tests/unit/bench.h"
#include "tests/unit/wire6.h"

namespace bench {

using wire::ip6;
using wire::Message6;
using wire::Reply6;
using Addresses = std::vector<wire::Ip6>;

class Relay6Bench : public DeviceBench {
 protected:
  static constexpr uint32_t client_port = 3, server_port = 24;
  static constexpr Mac own_mac = fake::Device::default_mac, client_mac{2, 0xaa, 0, 0, 0, 1};
  static constexpr Mac server_mac{2, 0xbb, 0, 0, 0, 1}, other_mac{2, 0xbb, 0, 0, 0, 2};

  void SetUp() override;
  /// Nothing outlives the relay, and no word is left taken.
  void TearDown() override;

  /// The neighbour answers, and the switch knows its port.
  static void answers(const char* address, const Mac& mac, uint32_t vlan = 20);
  static int add(const char* destination, uint32_t out_intf = 0) {
    return dhcp6_relay_set_dhcp_serverip(1, ip6(destination).data(), out_intf);
  }
  static int remove(const char* destination) { return dhcp6_relay_set_dhcp_serverip(0, ip6(destination).data(), 0); }
  static std::vector<Dhcp6RelayDestination> listed();
  /// State, MAC and VLAN of each destination: "valid 02:bb:... 20".
  static std::vector<std::string> states();

  static int receive(wire::Received& frame) { return dhcp6_relay_packet_process(frame.skp()); }
  static int receive(const Message6& message);
  static std::vector<Reply6> sent();
  /// A Relay-reply from the server to the device's own address.
  static Message6 reply(const wire::Ip6& peer, const Bytes& options, int hops = 0);
  static uint32_t met(Dhcp6RelayVerdict verdict);
};

}  // namespace bench
