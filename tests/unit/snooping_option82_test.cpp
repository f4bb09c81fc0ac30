/// Option 82: its bytes, and frames that gain or lose it, taken apart with the test's own idea of the layout.
#include <numeric>

#include "dhcp/relay.h"
#include "tests/unit/snooping_bench.h"

namespace {

using bench::Bytes;
using bench::device;
using bench::discover;
using testing::IsEmpty;
using wire::Message;
using wire::number_at;

constexpr size_t options_at = 286, room = 1600;

class SnoopingOption82 : public bench::SnoopingBench {
 protected:
  void SetUp() override {
    SnoopingBench::SetUp();
    set_dhcp_snoop_option82_switch(1);
  }
  static Bytes option(int vlan, uint32_t intf = 3, int module = 0) {
    Bytes bytes(300, 0xa5);
    const uint8_t mac[6] = {1, 2, 3, 4, 5, 6};
    const int size = fill_option82(bytes.data(), mac, vlan, intf, module);
    EXPECT_EQ(bytes[static_cast<size_t>(size)], 0xa5) << "written past its end";
    bytes.resize(static_cast<size_t>(size));
    EXPECT_EQ(bytes[1], bytes.size() - 2);
    return bytes;
  }
  /// The rewritten copy; empty = refused.
  static Bytes rewrite(const Bytes& frame, int mode) {
    wire::Received received(frame, 4);
    skpack* copy = option82_action(received.skp(), mode, 10, 4, 0);
    EXPECT_EQ(received.bytes(), frame);
    if (copy == nullptr) return {};
    const Bytes bytes(copy->data, copy->data + copy->psize);
    free(copy->head);
    free(copy);
    return bytes;
  }
  /// A frame with these options, and a UDP checksum of its own unless it is a changed one.
  static Bytes with_options(const Bytes& options, bool changed = false) {
    Bytes frame = Message(wire::DISCOVER, client).raw_options(options).frame();
    if (!changed) frame[44] = 0x12;
    return frame;
  }
  /// The default option 82 of VLAN 10, port 4, as the device's own MAC makes it.
  static Bytes own() { return {82, 18, 1, 6, 0, 4, 0, 10, 0, 4, 2, 8, 0, 6, 2, 0, 0, 0, 0, 1}; }
};

Bytes join(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

TEST_F(SnoopingOption82, BytesFollowTheSettingsOfTheVlan) {
  const Bytes remote{2, 8, 0, 6, 1, 2, 3, 4, 5, 6};
  EXPECT_EQ(option(0x123, 7, 9), join({{82, 18, 1, 6, 0, 4, 0x01, 0x23, 9, 7}, remote}));
  EXPECT_EQ(option(10, group), join({{82, 18, 1, 6, 0, 4, 0, 10, 0, 2}, remote})) << "a group shows its number";
  set_dhcp_snoop_option82_circuit_id(1, 10, 7, "hall");
  set_dhcp_snoop_option82_ip(1, 10, bench::ip(10, 1, 2, 3));
  EXPECT_EQ(option(10), join({{82, 24, 1, 6, 7, 4, 'h', 'a', 'l', 'l'}, remote, {5, 4, 10, 1, 2, 3}}));
  EXPECT_EQ(option(11).size(), 20u) << "another VLAN knows nothing of it";
  set_dhcp_snoop_option82_remote_id(1, 10, 300, "");
  EXPECT_EQ(option(10), join({{82, 18, 1, 6, 7, 4, 'h', 'a', 'l', 'l', 2, 2, 44, 0}, {5, 4, 10, 1, 2, 3}}));
  // 63 characters fit, the 64th does not.
  for (const size_t length : {63u, 64u, 200u}) {
    const std::string text(length, 'x');
    set_dhcp_snoop_option82_circuit_id(1, 20, 1, text.c_str());
    set_dhcp_snoop_option82_remote_id(1, 20, 2, text.c_str());
    const Bytes full = option(20);
    ASSERT_EQ(full.size(), 136u);
    EXPECT_EQ(number_at(full, 2, 4), 0x0141013fu);
    EXPECT_EQ(number_at(full, 69, 4), 0x0241023fu);
  }
  set_dhcp_snoop_option82_circuit_id(1, 20, 1, "short");
  EXPECT_EQ(option(20).size(), 78u) << "nothing of the longer string before it";
}

TEST_F(SnoopingOption82, LastSettingTakesTheVlansEntryAlong) {
  EXPECT_EQ(add_SUB_OPTION(10, 0, 1, nullptr, "remote", 1), -1);
  EXPECT_EQ(add_SUB_OPTION(10, 0, 1, "circuit", nullptr, 2), -1);
  EXPECT_EQ(add_SUB_OPTION(10, 0, 1, "a", "b", 3), -1);
  fake::fail_allocations(1);
  EXPECT_EQ(set_dhcp_snoop_option82_ip(1, 10, 1), -1);
  EXPECT_EQ(g_dhcp_snooping.sub_option_count, 0);
  for (const int type : {1, 2, 5}) EXPECT_EQ(add_SUB_OPTION(10, 9, 1, "a", "b", type), 0);
  for (const int type : {0, 3, -1, 32, 255}) EXPECT_EQ(del_SUB_OPTION(10, type), -1) << type;
  EXPECT_EQ(find_SUB_OPTION(10, 2)->flags, 0x26u);
  EXPECT_EQ(del_SUB_OPTION(10, 2), 0);
  EXPECT_EQ(find_SUB_OPTION(10, 2), nullptr);
  EXPECT_EQ(del_SUB_OPTION(10, 1) + del_SUB_OPTION(10, 5), 0);
  EXPECT_EQ(__find_SUB_OPTION(10), nullptr);
}

TEST_F(SnoopingOption82, EveryModeOnEveryKindOfOptions) {
  const Bytes type{53, 1, 1}, wanted{55, 3, 1, 3, 6}, foreign{82, 4, 1, 2, 'x', 'y'}, end{255}, pad{0}, tail{0, 0, 0};
  const Bytes bare = join({type, wanted, end}), padded = join({type, pad, wanted, pad, end, tail}),
              first = join({foreign, type, wanted, end}), middle = join({type, foreign, wanted, end, tail}),
              twice = join({foreign, type, foreign, end});
  const struct {
    const char* what;
    Bytes options;
    int mode;
    Bytes expected;
  } rows[] = {
      {"strip from none", bare, 0, bare},
      {"strip the first", first, 0, bare},
      {"strip in the middle", middle, 0, join({type, wanted, end, tail})},
      {"strip both", twice, 0, join({type, end})},
      {"replace none", bare, 1, join({type, wanted, own(), end})},
      {"replace in its place", middle, 1, join({type, own(), wanted, end, tail})},
      {"add", bare, 2, join({type, wanted, own(), end})},
      {"add behind pads, before the end", padded, 2, join({type, pad, wanted, pad, own(), end, tail})},
      {"add keeps the client's own", middle, 2, middle},
      {"an unknown mode copies", middle, 7, middle},
      {"only an end", end, 2, join({own(), end})},
  };
  for (const auto& row : rows) {
    const Bytes expected = with_options(row.expected, row.options != row.expected);
    EXPECT_EQ(rewrite(with_options(row.options), row.mode), expected) << row.what;
  }
}

TEST_F(SnoopingOption82, FrameThatCannotBeRewrittenIsRefusedAndCounted) {
  const Bytes options[] = {{53, 1, 1}, {53, 1, 1, 61, 5, 1, 2}, {53, 1, 1, 61}, {53, 1, 1, 0, 0}};
  for (const Bytes& endless : options) {
    for (const int mode : {0, 1, 2}) EXPECT_THAT(rewrite(with_options(endless), mode), IsEmpty());
  }
  EXPECT_THAT(rewrite(Message(wire::DISCOVER, client).untagged().frame(), 2), IsEmpty());
  // The last byte of the buffer may be used, one more not: 1500 less the fixed part, our own option and the end.
  for (const size_t spare : {0u, 1u}) {
    Bytes long_ones(1500 - options_at - 20 - 1 + spare, 0);
    long_ones.push_back(255);
    EXPECT_EQ(rewrite(with_options(long_ones), 2).empty(), spare != 0);
  }
  EXPECT_THAT(receive(discover(client).raw_options({53, 1, 1}), port).sent, IsEmpty());
  EXPECT_EQ(met(DHCP_SNOOP_OPTION82_FAILED, port, wire::DISCOVER), 1u);
}

TEST_F(SnoopingOption82, ClientsMessageGainsItAndTheReplyLosesIt) {
  const auto asked = receive(discover(client), 4);
  ASSERT_EQ(asked.sent.size(), 1u);
  const Bytes sent(asked.sent[0].bytes.begin() + options_at, asked.sent[0].bytes.end());
  EXPECT_EQ(sent, join({{53, 1, 1}, own(), {255}}));
  EXPECT_EQ(device().logged("add option82,forward the request packet.", "DHCPS_packet"), 1);
  for (const uint8_t type : {wire::OFFER, wire::ACK, wire::NAK}) {
    const auto reply = receive(from_server(type, client).option(82, {1, 0}), uplink);
    ASSERT_EQ(reply.sent.size(), 1u);
    EXPECT_EQ(reply.sent[0].bytes.size(), options_at + 4);
  }
  EXPECT_EQ(device().logged("add option82,forward the reply packet.", "DHCPS_packet"), 3);
  const Message unknown = from_server(wire::OFFER, neighbour).option(82, {1, 0});
  EXPECT_EQ(receive(unknown, uplink).sent.at(0).bytes, unknown.frame()) << "not for a client of ours";
  EXPECT_EQ(receive(discover(client).option(82, {1, 0}), uplink).sent.at(0).bytes.size(), options_at + 8)
      << "not from a client on a trusted port";
}

TEST_F(SnoopingOption82, RelayFindsTheLongerFrameInItsOwnBuffer) {
  dhcpr_cfg.status = DHCPR_ON;
  const Bytes frame = discover(client).frame();
  wire::Received received(frame, 4, room);
  const uint8_t* before = received.skp()->ud_hdr;
  EXPECT_EQ(dhcp_packet_snooping_process(received.skp()), 0);
  EXPECT_EQ(received.skp()->psize, frame.size() + 20);
  EXPECT_EQ(received.skp()->ud_hdr, before);
  const Bytes now = received.bytes();
  EXPECT_EQ(Bytes(now.begin() + options_at, now.end()), join({{53, 1, 1}, own(), {255}}));
  EXPECT_THAT(device().take_sent(), IsEmpty());
  // What a server answers is the relay's to strip or to leave.
  wire::Received reply(from_server(wire::OFFER, client).option(82, {1, 0}).frame(), uplink);
  EXPECT_EQ(dhcp_packet_snooping_process(reply.skp()), 0);
  EXPECT_EQ(reply.bytes().size(), options_at + 8);
}

}  // namespace
