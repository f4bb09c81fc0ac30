/// Frames, options, checksums, dumps and the way out.
#include <thread>

#include "dhcp/packet.h"
#include "packet/egress.h"
#include "packet/frame4.h"
#include "packet/options4.h"
#include "tests/unit/bench.h"

namespace bench {
namespace {

using namespace dhcp::packet;

class Packet : public DeviceBench {};

/// A message's bytes, at their exact length, with text in the two overloadable fields.
struct Raw {
  explicit Raw(const Bytes& options, const Bytes& file = {}, const Bytes& sname = {}) : bytes(240 + options.size()) {
    std::copy(sname.begin(), sname.end(), bytes.begin() + 44);
    std::copy(file.begin(), file.end(), bytes.begin() + 108);
    std::copy(options.begin(), options.end(), bytes.begin() + 240);
    bytes.shrink_to_fit();
  }
  Message4 message() { return *Message4::at(bytes); }
  Bytes bytes;
};

std::optional<Bytes> copy_of(const std::optional<std::span<uint8_t>>& value) {
  if (!value) return std::nullopt;
  return Bytes(value->begin(), value->end());
}

/// Options of exactly `size` bytes that end with option 43 of `last` value bytes.
Bytes options_of_size(size_t size, size_t last) {
  Bytes bytes(size, 0);
  bytes[size - last - 2] = 43;
  bytes[size - last - 1] = static_cast<uint8_t>(last);
  return bytes;
}

TEST_F(Packet, OptionIsSoughtWhereOverloadSaysAndNowhereElse) {
  const Bytes wanted{43, 1, 9, 255}, none{255};
  const std::optional<Bytes> found = Bytes{9}, missing;
  const struct {
    const char* name;
    Bytes options, file, sname;
    std::optional<Bytes> in_message, in_frame;
  } rows[] = {
      {"behind pads", {0, 0, 43, 1, 9, 255}, none, none, found, found},
      {"no overload", {255}, wanted, wanted, missing, missing},
      {"overload file", {52, 1, 1, 255}, wanted, none, found, found},
      {"overload file, wanted in sname", {52, 1, 1, 255}, none, wanted, missing, missing},
      {"overload sname alone", {52, 1, 2, 255}, none, wanted, missing, found},
      {"overload both", {52, 1, 3, 255}, none, wanted, found, found},
      {"overload both, file without end", {52, 1, 3, 255}, {12, 1, 0}, wanted, missing, missing},
      {"overload told in file", {52, 1, 1, 255}, {52, 1, 3, 255}, wanted, found, found},
      {"overload behind the end", {255, 52, 1, 1}, wanted, none, missing, missing},
      {"options without end", {52, 1, 1}, wanted, none, missing, missing},
      {"overload without a value", {52, 0, 255}, wanted, wanted, missing, missing},
      {"first of two", {43, 1, 9, 43, 1, 8, 255}, none, none, found, found},
      {"length past the end", {43, 2, 9}, none, none, missing, missing},
      {"code without length", {12, 0, 43}, none, none, missing, missing},
  };
  for (const auto& row : rows) {
    Raw raw(row.options, row.file, row.sname);
    EXPECT_EQ(copy_of(find_in_message(raw.message(), 43)), row.in_message) << row.name;
    EXPECT_EQ(copy_of(find_in_frame(raw.message(), 43)), row.in_frame) << row.name;
  }
  EXPECT_EQ(ip_option(Raw({50, 3, 1, 2, 3, 255}).message(), 50), std::nullopt) << "made up of a short option";
}

TEST_F(Packet, OptionThatEndsAtTheEdgeIsFoundAndOneByteLaterIsNot) {
  for (size_t last : {0u, 1u, 200u}) {
    Raw at_308(options_of_size(308, last)), at_309(options_of_size(309, last)), at_312(options_of_size(312, last));
    EXPECT_EQ(__get_option(at_308.bytes.data(), 43), at_308.bytes.data() + 548 - last);
    EXPECT_EQ(__get_option(at_309.bytes.data(), 43), nullptr) << "308 bytes are searched";
    EXPECT_FALSE(find_in_message(at_309.message(), 43)) << "in a longer frame too";
    EXPECT_EQ(find_in_frame(at_312.message(), 43)->size(), last) << "the frame's own length counts";
    // The same frame, one byte shorter than its last option claims.
    at_312.bytes.resize(at_312.bytes.size() - 1);
    EXPECT_EQ(find_in_frame(at_312.message(), 43).has_value(), false);
  }
}

TEST_F(Packet, FrameThatIsCutOrPointsOutsideIsRefused) {
  const Bytes whole = discover(mac_number(1)).frame();
  for (size_t size = 0; size < whole.size(); ++size) {
    wire::Received cut(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
    EXPECT_EQ(Frame4::parse(*cut.skp()).has_value(), size >= 286) << size;
  }
  wire::Received received(whole);
  uint8_t elsewhere[512] = {};
  uint8_t* const begin = received.skp()->data;
  uint8_t* const hostile[] = {elsewhere, begin - 1, begin + whole.size() - 100, begin + whole.size()};
  for (uint8_t* pointer : hostile) {
    for (uint8_t* skpack::*member : {&skpack::ud_hdr, &skpack::ip_hdr, &skpack::vlan_tag}) {
      skpack skp = *received.skp();
      skp.*member = pointer;
      const bool can_be_header = member != &skpack::ud_hdr && pointer == hostile[2];
      EXPECT_EQ(Frame4::parse(skp).has_value(), can_be_header);
    }
  }
}

TEST_F(Packet, UpperStandsInForAMissingUdpHeader) {
  wire::Received received(discover(mac_number(1)).xid(0x01020304).vlan(0xf123).frame());
  std::swap(received.skp()->ud_hdr, received.skp()->upper);
  const auto frame = Frame4::parse(*received.skp());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->message().xid(), 0x01020304u);
  EXPECT_EQ(frame->vlan(), 0x123) << "twelve bits of the tag";
}

TEST_F(Packet, ChecksumIsTheSameNumberOnEveryMachine) {
  const uint8_t even[] = {0x00, 0x01, 0xf2, 0x03, 0xf4, 0xf5, 0xf6, 0xf7};  // RFC 1071 section 3
  EXPECT_EQ(static_cast<uint16_t>(check_sum(even, 8)), 0x220d);
  const uint8_t odd[] = {0x01, 0x02, 0x03, 0x00}, dirty[] = {0x01, 0x02, 0x03, 0x04};
  EXPECT_EQ(static_cast<uint16_t>(check_sum(odd, 3)), 0xfbfd);
  EXPECT_EQ(static_cast<uint16_t>(check_sum(dirty, 3)), 0xfbf9) << "the byte behind is part of the sum";
  const uint8_t carries[] = {0xff, 0xff, 0xff, 0xff, 0x00, 0x01};
  EXPECT_EQ(static_cast<uint16_t>(check_sum(carries, 6)), 0xfffe);
}

TEST_F(Packet, InterfaceQuerySaysWhatFailed) {
  device().vlan_interfaces[10] = {ip(192, 168, 1, 1), {1, 2, 3, 4, 5, 6}};
  uint32_t address = 0xa5a5a5a5;
  Mac mac{};
  EXPECT_EQ(get_nic_address("eth0.10", &address, mac.data()), 0);
  const uint8_t wire_order[] = {192, 168, 1, 1};
  EXPECT_EQ(memcmp(&address, wire_order, 4), 0) << "network order, as the socket call gives it";
  EXPECT_EQ(mac, (Mac{1, 2, 3, 4, 5, 6}));

  testing::internal::CaptureStdout();
  EXPECT_EQ(get_nic_address("eth0.11", &address, mac.data()), -1);
  EXPECT_EQ(address, 0u);
  EXPECT_EQ(get_nic_address("eth0.11", nullptr, mac.data()), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "No such device\r\n ioctl getip failed!\r\nNo such device\r\n ioctl getmac failed!\r\n");
  EXPECT_EQ(mac, (Mac{1, 2, 3, 4, 5, 6})) << "untouched";
}

TEST_F(Packet, DumpShowsEveryByteOnce) {
  const auto text = [](int len) {
    char head[200];
    snprintf(head, sizeof head, "\r\n------------------------------------------------\r\nframe:%d(0x%X)\r\n    ", len,
             static_cast<unsigned>(len));
    return head + std::string("00 01 02 03 04 05 06 07   08 09 0A 0B 0C 0D 0E 0F ");
  };
  Bytes bytes(18);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(0xf0 + i);
  testing::internal::CaptureStderr();
  dhcp_dump_packet("frame", bytes.data(), 18);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            text(18) + "\r\n000 F0 F1 F2 F3 F4 F5 F6 F7   F8 F9 FA FB FC FD FE FF \r\n001 00 01 \r\n");
  testing::internal::CaptureStderr();
  dhcp_dump_packet("frame", bytes.data(), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), text(0) + "\r\n");
}

TEST_F(Packet, FrameIsPrintedHeaderByHeader) {
  wire::Received received(discover(mac_number(0x0102))
                              .xid(0x11223344)
                              .broadcast_flag()
                              .giaddr(ip(10, 0, 0, 1))
                              .at(44, Bytes(64, 'n'))  // not terminated
                              .at(108, {'b', 'o', 'o', 't'})
                              .vlan(0xa00a)
                              .frame());
  const uint8_t tag[] = {0x20 | 0x10, 0x03, 0x45, 0x86};
  memcpy(received.skp()->bcm_tag, tag, 4);
  char udp_sum[8];
  snprintf(udp_sum, sizeof udp_sum, "0x%x", load_be16(received.skp()->ud_hdr + 6));
  testing::internal::CaptureStdout();
  print_sk_packet(received.skp());
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "skp info:skp->users = 1\nskp->psize = 290\n"
            "et_hdr->ether_dhost = ff:ff:ff:ff:ff:ff\net_hdr->ether_shost = 00:10:20:30:01:02\n"
            "et_hdr->ether_type = 0x8100\n"
            "ip_hdr->saddr = 0x0\nip_hdr->daddr = 0xffffffff\nip_hdr->protocol = 0x11\nip_hdr->ttl = 0x40\n"
            "ud_hdr->source = 0x44\nud_hdr->dest = 0x43\nud_hdr->len = 0xfc\nud_hdr->check = " +
                std::string(udp_sum) +
                "\ndhcp_data->op = 0x1\ndhcp_data->htype = 0x1\ndhcp_data->hlen = 0x6\ndhcp_data->hops = 0x0\n"
                "dhcp_data->xid = 0x11223344\ndhcp_data->secs = 0x0\ndhcp_data->flags = 0x8000\n"
                "dhcp_data->ciaddr = 0x0\ndhcp_data->yiaddr = 0x0\ndhcp_data->siaddr = 0x0\n"
                "dhcp_data->giaddr = 0xa000001\ndhcp_data->chaddr = 00:10:20:30:01:02\n"
                "dhcp_data->srvname = " +
                std::string(64, 'n') +
                "\ndhcp_data->file = boot\ndhcp_data->cookie = 0x63825363\n"
                "c_vlan_tpid = 0x8100,c_vlan_vid = 0xa,c_vlan_pri = 0x5\n"
                "bcm_tag->src_pid = 6\nbcm_tag->ermon = 2\nbcm_tag->reason = 5\nbcm_tag->qos = 1\n"
                "bcm_tag->rsvd = 1\nbcm_tag->oct_cnt = 2049\nbcm_tag->opcode = 1\n");
}

TEST_F(Packet, FloodWaitsWhileThePortListIsChanged) {
  Bytes frame(64);
  intf_order_list* ports = intf_order_list_init();
  std::atomic<uint32_t> users{255};
  std::thread sender([&] { send_flood(frame, ports, users, 10); });
  while (device().slept_ms() == 0) sched_yield();
  EXPECT_EQ(device().take_sent().size(), 0u);
  users = 0;
  sender.join();
  EXPECT_EQ(device().take_sent().size(), 1u);
  EXPECT_EQ(users.load(), 0u);
  intf_order_list_free_node(ports);
}

}  // namespace
}  // namespace bench
