/// The benches on which the module is tried: a fresh device, the clock in the test's hand, and at the end the proof
/// that nothing is left behind.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <set>

#include "base/frame_counts.h"
#include "base/list.h"
#include "dhcp/binding.h"
#include "dhcp/server.h"
#include "packet/nic.h"
#include "tests/fake/device.h"
#include "tests/unit/wire.h"

namespace bench {

using dhcp::base::Records;
using fake::device;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using wire::Bytes;
using wire::ip;
using wire::Mac;
using wire::mac_number;

/// A fresh device for every test.
class DeviceBench : public ::testing::Test {
 protected:
  void SetUp() override {
    fake::reset();
    dhcp::packet::close_own_nic();
  }
  void at(uint32_t seconds) { device().now = start + seconds; }
  /// What a display function leaves in its temporary file; `a` and 7 are passed on to it.
  static std::string shown(int (*show)(char*, int, int), int a = 0);
  /// What a save function writes.
  static std::string saved(int (*save)(FILE*));
  static constexpr uint32_t start = 1'700'000'000;
};

/// Hands a frame of the interface to a service; whatever it is, it has to meet exactly one fate there.
template <class Receive>
auto counted_once(const dhcp::base::FrameCountView& counts, uint32_t intf, Receive receive) {
  const auto met = [&] {
    uint32_t sum = 0;
    for (const size_t row : std::set<size_t>{0, dhcp::base::count_row(intf)}) {
      for (size_t fate = 0; fate < counts.fates(); ++fate) {
        for (size_t type = 0; type < counts.types(); ++type) sum += counts.at(row, fate, type);
      }
    }
    return sum;
  };
  const uint32_t before = met();
  const auto result = receive();
  EXPECT_EQ(met() - before, 1u) << "fates that one frame has met";
  return result;
}

/// An index over bindings, forwards and backwards, with every busy word at rest and, unless said, its counts right.
void expect_index_at_rest(const DhcpSnoopIndex& index, bool counts = true);

std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& text);

/// What a row of a test says about a reply; what it does not name may be anything.
struct Expected {
  std::optional<uint32_t> type = std::nullopt, yiaddr = std::nullopt, ciaddr = std::nullopt, giaddr = std::nullopt;
  std::optional<uint32_t> to_ip = std::nullopt, from_ip = std::nullopt, xid = std::nullopt, flags = std::nullopt;
  std::optional<uint32_t> vlan = std::nullopt;
  std::optional<Mac> to_mac = std::nullopt, from_mac = std::nullopt;
  std::optional<int> mode = std::nullopt;
  std::optional<std::vector<uint32_t>> ports = std::nullopt;
  std::optional<std::vector<int>> codes = std::nullopt;
};

/// A lease or offer as the bindings list holds it.
struct Lease {
  uint32_t ip, pool_id;
  int state;
  uint32_t expire;
  bool operator==(const Lease&) const = default;
};

/// The server on VLAN 10 with the address 192.168.1.1; pools are the test's own.
class ServerBench : public DeviceBench {
 protected:
  static constexpr uint32_t own_ip = ip(192, 168, 1, 1), mask24 = 0xffffff00;
  static constexpr Mac own_mac{0x02, 0, 0, 0, 0, 0x10};

  void SetUp() override;
  void TearDown() override;

  /// Pool 1 of the tests: 192.168.1.10 to .20, unless said.
  static void make_pool(uint32_t id = 1, uint32_t first = ip(192, 168, 1, 10), uint32_t last = ip(192, 168, 1, 20),
                        uint32_t network = ip(192, 168, 1, 0), uint32_t mask = mask24);
  /// The server's answer to one frame; its replies wait for expect_reply() or reply().
  static int receive(const wire::Message& message);
  static int receive(const Bytes& frame);
  static std::optional<wire::Reply> reply();
  static void expect_reply(const Expected& expected);
  static void expect_silence() { EXPECT_EQ(device().take_sent().size(), 0u); }
  /// The address that a DISCOVER is offered; 0 without an offer.
  static uint32_t offered(const wire::Message& message);
  /// DISCOVER and REQUEST; the address acknowledged.
  static uint32_t lease(const Mac& client);
  /// One ageing pass.
  static void age();
  static std::vector<Lease> leases();  // newest first
};

wire::Message discover(const Mac& client);
/// A client that takes up the offer of `address`.
wire::Message request(const Mac& client, uint32_t address);
/// A client that renews `address` and names it in ciaddr only.
wire::Message renewal(const Mac& client, uint32_t address);

/// The numbers of a list, in the list's order.
std::vector<uint32_t> ips_of(const DhcpListHead& head);

}  // namespace bench
