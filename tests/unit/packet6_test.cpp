/// DHCPv6 bytes in both directions: the door, options at their edges, addresses of IAs, built frames.
#include "dhcp/packet6.h"
#include "packet/datagram6.h"
#include "packet/frame6.h"
#include "packet/options6.h"
#include "tests/unit/bench.h"
#include "tests/unit/wire6.h"

namespace bench {
namespace {

using namespace dhcp::packet;
using wire::ip6;
using wire::operator+;

class Packet6 : public DeviceBench {};

constexpr wire::Mac client{2, 0, 0, 0, 0, 7};

/// First word, last word and valid lifetime of the address that a message's IA gives; nothing without one.
std::optional<std::array<uint32_t, 3>> leased_in(const Bytes& options) {
  wire::Received received(wire::Message6(wire::REPLY6, client, options).frame());
  uint32_t address[4] = {0xa5a5a5a5, 0, 0, 0xa5a5a5a5}, valid = 0xa5a5a5a5;
  if (dhcp6_get_ia_address(received.skp(), address, &valid) != 0) {
    EXPECT_EQ(address[0] & address[3] & valid, 0xa5a5a5a5) << "written on failure";
    return std::nullopt;
  }
  return std::array{address[0], address[3], valid};
}

TEST_F(Packet6, FrameThatIsCutOrPointsOutsideIsRefused) {
  const Bytes whole = wire::Message6(wire::SOLICIT6, client, wire::option6(1, {7, 7})).vlan(0xf123).frame();
  for (size_t size = 0; size < whole.size(); ++size) {
    wire::Received cut(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
    const auto frame = Frame6::parse(*cut.skp());
    ASSERT_EQ(frame.has_value(), size >= 70) << size;
    EXPECT_FALSE(frame && find_option6(frame->message().options(), 1)) << "beyond the frame";
  }
  wire::Received received(whole);
  const auto frame = Frame6::parse(*received.skp());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->vlan(), 0x123);
  EXPECT_EQ(frame->ip_source().bytes, ip6("fe80::2"));
  EXPECT_EQ(frame->message().transaction_id(), 0x123456u);
  // `upper` leads to the message only where it is asked for.
  skpack swapped = *received.skp();
  std::swap(swapped.ud_hdr, swapped.upper);
  EXPECT_FALSE(Frame6::parse(swapped));
  EXPECT_TRUE(Frame6::parse(swapped, UdpPointer::ud_hdr_or_upper)->message().is(MessageType6::solicit));
  uint8_t elsewhere[512] = {};
  uint8_t* const begin = received.skp()->data;
  for (uint8_t* pointer : {elsewhere, begin - 1, begin + whole.size() - 3, begin + whole.size()}) {
    for (uint8_t* skpack::*member : {&skpack::ud_hdr, &skpack::ip6_hdr, &skpack::vlan_tag}) {
      skpack skp = *received.skp();
      skp.*member = pointer;
      EXPECT_FALSE(Frame6::parse(skp));
    }
  }
}

TEST_F(Packet6, AddressIsTakenFromAWholeIaOnly) {
  const Bytes address = wire::ia_address(ip6("2001:db8::5"), 300, 600);
  const Bytes status = wire::option6(13, Bytes(26, 'x'));
  const std::array<uint32_t, 3> leased{0x20010db8, 5, 600};
  const auto first = [](const Bytes& bytes, int size) { return Bytes(bytes.begin(), bytes.begin() + size); };
  const Bytes na40 = wire::be32(1) + wire::be32(0) + wire::be32(0) + address, ta32 = wire::be32(1) + address;
  const Bytes ta = wire::option6(4, ta32);
  EXPECT_EQ(leased_in(wire::ia_na(1, address)), leased);
  EXPECT_EQ(leased_in(ta), leased);
  EXPECT_EQ(leased_in(wire::ia_na(1, address) + wire::ia_na(2, wire::ia_address(ip6("::9"), 1, 1))), leased);
  EXPECT_EQ(leased_in(wire::ia_na(1, status) + ta), std::nullopt) << "a status text read as an address";
  EXPECT_EQ(leased_in(wire::option6(3, first(na40, 35)) + ta), std::nullopt) << "35 bytes, and no second choice";
  EXPECT_EQ(leased_in(wire::option6(4, first(ta32, 27))), std::nullopt);
  EXPECT_EQ(leased_in({}), std::nullopt);
  // Long enough by the rule, too short for a valid lifetime: what follows is taken, and zeros behind the end.
  EXPECT_EQ(leased_in(wire::option6(3, first(na40, 36)) + wire::option6(0x0102, {9, 9, 9})),
            (std::array<uint32_t, 3>{0x20010db8, 5, 0x01020003}));
  EXPECT_EQ(leased_in(wire::option6(4, first(ta32, 28))), (std::array<uint32_t, 3>{0x20010db8, 5, 0}));
}

TEST_F(Packet6, IaIsKnownWithoutAnAddress) {
  const Bytes address = wire::ia_address(ip6("2001:db8::5"), 300, 600), status = wire::option6(13, {0, 3});
  const auto cut = [&](int size) { return wire::ia_na(7, Bytes(address.begin(), address.begin() + size)); };
  const auto with = [](const Bytes& options) { return wire::Message6(wire::SOLICIT6, client, options); };
  const struct {
    Bytes options;
    int result;
    uint32_t type, iaid;
  } rows[] = {
      {wire::ia_na(7, address), 0, 3, 7},       {wire::ia_ta(8, status + address), 0, 4, 8},
      {wire::ia_na(7, {}, 5, 6), 1, 3, 7},      {wire::ia_na(7, status), 1, 3, 7},
      {cut(27) + wire::be32(600), 1, 3, 7},     {wire::option6(3, Bytes(11)) + wire::ia_ta(8, address), -1, 99, 99},
      {wire::option6(4, Bytes(3)), -1, 99, 99}, {{}, -1, 99, 99},
  };
  for (const auto& row : rows) {
    wire::Received received(with(row.options).frame());
    uint16_t type = 99;
    uint32_t iaid = 99, valid = 99;
    wire::Ip6 found{};
    EXPECT_EQ(dhcp6_get_ia_type_addr(received.skp(), &type, &iaid, found.data(), &valid), row.result);
    EXPECT_EQ(dhcp6_get_ia_type_addr(received.skp(), nullptr, nullptr, nullptr, nullptr), row.result);
    EXPECT_EQ(type, row.type);
    EXPECT_EQ(iaid, row.iaid);
    EXPECT_EQ(valid, row.result == 0 ? 600u : 99u);
    EXPECT_EQ(found, row.result == 0 ? ip6("2001:db8::5") : wire::Ip6{});
  }
  wire::Received received(with(wire::ia_na(7, {}, 5, 6)).frame());
  const auto ia = find_ia6(Frame6::parse(*received.skp())->message().options());
  EXPECT_EQ(ia->t1(), 5u);
  EXPECT_EQ(ia->t2(), 6u);
}

TEST_F(Packet6, AppendStopsBeforeByte955AndWritesNothing) {
  const Bytes value(951, 7);
  for (const auto& [add, header] : {std::pair{&dhcp6_add_option, size_t{4}}, {&dhcp6_add_relay_option, size_t{34}}}) {
    Bytes message(header + 960, 0xa5);
    EXPECT_EQ(add(message.data(), 0, 3, 951, value.data()), -1);
    EXPECT_EQ(add(message.data(), 950, 3, 1, value.data()), -1);
    EXPECT_EQ(add(message.data(), -1, 3, 1, value.data()), -1);
    EXPECT_EQ(add(message.data(), 0, 3, -1, value.data()), -1);
    EXPECT_EQ(message, Bytes(header + 960, 0xa5));
    EXPECT_EQ(add(message.data(), 0, 0x0102, 950, value.data()), 954);
    EXPECT_EQ(Bytes(message.begin(), message.begin() + static_cast<std::ptrdiff_t>(header) + 5),
              Bytes(header, 0xa5) + (Bytes{1, 2, 0x03, 0xb6, 7}));
    EXPECT_EQ(message[header + 954], 0xa5);
  }
}

TEST_F(Packet6, NestedOptionsCarryTheLengthOfWhatIsInThem) {
  const auto written = [](auto write) {
    Bytes message(1100, 0xa5);
    OptionWriter6 writer(message);
    write(writer);
    return writer.ok()
               ? Bytes(message.begin() + 4, message.begin() + static_cast<std::ptrdiff_t>(writer.message_size()))
               : Bytes{};
  };
  const IaAddress6 leased{{ip6("2001:db8::5")}, 300, 600};
  const Bytes address = wire::ia_address(ip6("2001:db8::5"), 300, 600), none = wire::option6(13, {0, 3});
  EXPECT_EQ(written([&](auto& w) { add_ia6(w, 3, 9, 150, 240, leased); }), wire::ia_na(9, address, 150, 240));
  EXPECT_EQ(written([&](auto& w) { add_ia6(w, 4, 9, 150, 240, leased); }), wire::ia_ta(9, address));
  EXPECT_EQ(written([&](auto& w) { add_ia6_status(w, 3, 9, 3); }), wire::ia_na(9, none));
  EXPECT_EQ(written([&](auto& w) { add_ia6_status(w, 4, 9, 3); }), wire::ia_ta(9, none));
  const std::string longest(255, 'd'), too_long(256, 'd');
  const auto list = [&](std::vector<const char*> names) {
    return written([&](auto& w) { add_domain_list6(w, names); });
  };
  EXPECT_EQ(list({"a.b"}), wire::option6(24, {3, 'a', '.', 'b', 0})) << "one label, dots and all";
  EXPECT_EQ(list({"a.b", "c"}), wire::option6(24, {3, 'a', '.', 'b', 0, 1, 'c', 0}));
  EXPECT_EQ(list({longest.c_str()}).size(), 4u + 257u);
  EXPECT_TRUE(list({too_long.c_str()}).empty());
}

TEST_F(Packet6, BuiltFrameIsWholeAtEverySize) {
  const Datagram6 datagram{.to_mac = all_dhcp6_servers_mac,
                           .from_mac = dhcp::base::MacAddress::from(client.data()),
                           .vlan = 10,
                           .from = {ip6("fe80::7")},
                           .to = all_dhcp6_servers,
                           .from_port = 546,
                           .to_port = 547,
                           .hop_limit = 5};
  for (size_t size : {size_t{4}, size_t{5}, size_t{1000}, size_t{1001}, datagram6_room - 66}) {
    Bytes buffer(datagram6_room, 0xa5);
    std::fill_n(buffer.begin() + 66, size, uint8_t{0});
    buffer[66] = wire::SOLICIT6;
    if (size > 4) buffer[65 + size] = 0x77;  // the last byte counts, at odd lengths too
    const auto frame = finish_datagram6(buffer, size, datagram);
    ASSERT_EQ(frame.size(), 66 + size);
    const wire::Reply6 seen(Bytes(frame.begin(), frame.end()));
    EXPECT_THAT(seen.faults, testing::AnyOf("", "options")) << size;
    EXPECT_EQ(seen.to_mac, wire::multicast_mac6);
    EXPECT_EQ(seen.from_mac, client);
    EXPECT_EQ(seen.from_ip, ip6("fe80::7"));
    EXPECT_EQ(seen.to_ip, ip6("ff02::1:2"));
    EXPECT_EQ(seen.vlan << 16 | seen.hop_limit, 10u << 16 | 5);
    EXPECT_EQ(seen.from_port << 16 | seen.to_port, 546u << 16 | 547);
  }
  Bytes small(69, 0xa5), large(70'000, 0);
  EXPECT_TRUE(finish_datagram6(small, 4, datagram).empty());
  EXPECT_EQ(small, Bytes(69, 0xa5));
  EXPECT_TRUE(finish_datagram6(large, 65528, datagram).empty()) << "a length that does not fit its field";
  EXPECT_EQ(finish_datagram6(large, 65527, datagram).size(), 65593u);
}

TEST_F(Packet6, ChecksumOfZeroIsSentAsAllOnes) {
  // A datagram whose sum is 0xffff but for two bytes, which make it so.
  Bytes frame(66 + 4);
  const auto sum = static_cast<uint16_t>(dhcp6_udp_calculate_chksum(frame.data(), 12));
  frame[66] = static_cast<uint8_t>(sum >> 8);
  frame[67] = static_cast<uint8_t>(sum);
  EXPECT_EQ(dhcp6_udp_calculate_chksum(frame.data(), 12), -1);
}

TEST_F(Packet6, AddressesAreComparedAsNumbers) {
  using dhcp::base::Ip6;
  const Ip6 a{ip6("2001:db8::ff")}, b{ip6("2001:db8::100")}, last{ip6("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff")};
  EXPECT_EQ(a.next(), b);
  EXPECT_LT(a, b);
  EXPECT_TRUE(last.next().is_zero());
  EXPECT_EQ(b.last32(), 0x100u);
  // Bit by bit: an address shares exactly so many leading bits with one that differs in the next.
  for (unsigned bit = 0; bit < 128; ++bit) {
    Ip6 other = a;
    other.bytes[bit / 8] = static_cast<uint8_t>(other.bytes[bit / 8] ^ 0x80 >> bit % 8);
    EXPECT_TRUE(a.in_prefix(other, bit)) << bit;
    EXPECT_FALSE(a.in_prefix(other, bit + 1)) << bit;
  }
}

}  // namespace
}  // namespace bench
