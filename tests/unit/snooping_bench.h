/// IPv4 snooping on VLANs 10 and 20: clients on any port, the server behind trusted port 24.
#pragma once

#include "dhcp/snooping.h"
#include "tests/unit/bench.h"

namespace bench {

/// What became of one frame.
struct Fate {
  int result;
  std::vector<fake::Sent> sent;
};

class SnoopingBench : public DeviceBench {
 protected:
  static constexpr uint32_t port = 3, other_port = 4, uplink = 24, group = 0x10000002;
  static constexpr Mac client{0x02, 0xaa, 0, 0, 0, 0x01}, neighbour{0x02, 0xaa, 0, 0, 0, 0x02};
  static constexpr Mac server_mac{0x02, 0xbb, 0, 0, 0, 0x01};
  static constexpr uint32_t server_ip = ip(192, 168, 1, 1), address = ip(192, 168, 1, 10);

  void SetUp() override;
  /// Both indexes are whole, and nothing outlives the service.
  void TearDown() override;

  static Fate receive(const wire::Message& message, uint32_t in_port, size_t room = 0);
  /// The client's message on `in_port`, with broadcast destination unless said.
  static wire::Message from_server(int type, const Mac& to, uint32_t yiaddr = address);
  static wire::Message ack(const Mac& to, uint32_t yiaddr = address, uint32_t lease_s = 600) {
    return from_server(wire::ACK, to, yiaddr).ip_option(51, lease_s);
  }
  /// DISCOVER on the port and the server's ACK on the uplink: a bound entry.
  static MacBindStruct& bind(const Mac& mac, uint32_t yiaddr = address, uint32_t in_port = port, uint16_t vlan = 10,
                             uint32_t lease_s = 600);
  static MacBindStruct* find(const Mac& mac) { return find_MacBindStruct(mac.data(), 0); }
  static SnoopIntfEntry& entry_of(uint32_t intf);
  /// How often a frame of the type on the interface has met this fate; 0 = all that came from no listed interface.
  static uint32_t met(DhcpSnoopVerdict verdict, uint32_t intf, int type);
  /// Every list forwards and backwards, its count, its bucket, and every busy word at rest.
  static void expect_whole();
  static std::string table_path() { return device().temp_directory() + "/table.ini"; }
  /// What a display or save function writes.
  static std::string shown(int (*show)(char*, int, int));
  static std::string saved();
};

}  // namespace bench
