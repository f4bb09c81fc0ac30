/// The relay on VLANs 10 (clients) and 20 (servers): clients on any port, a server behind port 24.
#pragma once

#include "dhcp/relay.h"
#include "tests/unit/bench.h"

namespace bench {

class RelayBench : public DeviceBench {
 protected:
  static constexpr uint32_t port = 3, uplink = 24, group = 0x10000002;
  static constexpr uint32_t client_gateway = ip(10, 10, 0, 1), relay_ip = ip(10, 20, 0, 1);
  static constexpr uint32_t server_ip = ip(10, 20, 0, 5), other_server = ip(10, 20, 0, 6);
  static constexpr Mac client{0x02, 0xaa, 0, 0, 0, 0x01}, server_mac{0x02, 0xbb, 0, 0, 0, 0x05},
      other_mac{0x02, 0xbb, 0, 0, 0, 0x06}, own_mac = fake::Device::default_mac;

  void SetUp() override;
  /// No helper, no client and no lock is left.
  void TearDown() override;

  /// Management-VLAN mode, with a helper at the server's address whose MAC is known.
  static void start_routing();
  static int receive(const wire::Message& message, uint32_t in_port = port);
  static wire::Message discover() { return wire::Message(wire::DISCOVER, client); }
  static wire::Message from_server(int type, uint32_t identifier = server_ip);
  static uint32_t met(DhcpRelayVerdict verdict);
  static DhcpRelayHelper helper(uint32_t address);
  /// The default option 82 of a client on `in_port` of VLAN 10.
  static Bytes own_option82(uint8_t in_port = port);
};

/// `frame` with `bytes` written at `offset`.
Bytes with(Bytes frame, size_t offset, const Bytes& bytes);
/// The same with the IPv4 header's checksum made anew.
Bytes sealed(Bytes frame);

}  // namespace bench
