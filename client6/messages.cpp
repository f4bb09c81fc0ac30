/// The client's messages (RFC 8415 section 18.2): what each one carries, and the frame around it.
#include <array>
#include <cstdio>
#include <cstdlib>

#include "base/link_local.h"
#include "base/log.h"
#include "base/os.h"
#include "client6/client6.h"
#include "client6/counters.h"
#include "dhcp/packet6.h"
#include "packet/datagram6.h"
#include "packet/egress.h"
#include "packet/kept_option6.h"

namespace dhcp::client6 {

namespace {

using packet::MessageType6;
namespace option6 = packet::option6;

constexpr size_t frame_room = packet::tagged_dhcp6_offset + packet::dhcp6::header_size + packet::options6_limit - 1;

/// Vendor options, DNS servers, domain names, and the client's own name (RFC 8415 section 21.7).
constexpr std::array<uint8_t, 8> wanted_options{0, 17, 0, 23, 0, 24, 0, 39};

unsigned int transactions = 1;  // state of the generator

/// One message on its way to all servers; the frame is built in place, one at a time under the list's word.
class Outgoing {
 public:
  Outgoing(const Dhcp6cInterfaceNode& node, MessageType6 type) : node_(node), type_(type), writer_(message()) {
    packet::begin_message6(message(), type, node.xid);
    add(node.client_id);
  }

  /// A record that the node keeps. Without it the message is not sent.
  void add(uint8_t* record) {
    if (record == nullptr) return writer_.fail();
    const packet::Option6 option = packet::kept_option6(record);
    writer_.add(option.code, option.value);
  }
  /// An IA_NA without an address, for a client that has not been given any.
  void add_empty_ia(uint32_t iaid) {
    const packet::OptionWriter6::Nested ia(writer_, option6::ia_na);
    for (const uint32_t word : {iaid, uint32_t{0}, uint32_t{0}}) writer_.u32(word);
  }
  void add_wanted_options() { writer_.add(option6::option_request, wanted_options); }

  int send(const char* text) {
    if (!writer_.ok()) return abandon();
    DHCP_LOG(base::module_frame, "dhcpc", "%s", text);
    if (dhcp6c_send_packet(&node_, frame_.data(), static_cast<int>(writer_.message_size())) != 0) return abandon();
    count_sent(type_);
    return 0;
  }

 private:
  static std::span<uint8_t> message() { return packet::datagram6_message(frame_); }
  static int abandon() {
    count_not_sent();
    return -1;
  }

  static std::array<uint8_t, frame_room> frame_;
  const Dhcp6cInterfaceNode& node_;
  MessageType6 type_;
  packet::OptionWriter6 writer_;
};

std::array<uint8_t, frame_room> Outgoing::frame_;

}  // namespace

void seed_transactions() {
  uint32_t seed = base::now32();
  if (FILE* source = fopen("/dev/urandom", "rbe")) {
    // Without it the clock alone has to do.
    if (fread(&seed, sizeof seed, 1, source) != 1) seed = base::now32();
    fclose(source);
  }
  transactions = seed;
}

uint32_t new_transaction() { return static_cast<uint32_t>(rand_r(&transactions)) & 0xffffff; }

}  // namespace dhcp::client6

using namespace dhcp;
using client6::Outgoing;
using packet::MessageType6;

int dhcp6c_send_packet(const Dhcp6cInterfaceNode* node, uint8_t* frame, int message_size) {
  const auto own = base::MacAddress::from(dhcpc6_golbal_config.mac);
  if (own == base::MacAddress{} || message_size < 0) return -1;
  const packet::Datagram6 datagram{
      .to_mac = packet::all_dhcp6_servers_mac,
      .from_mac = own,
      .vlan = static_cast<uint16_t>(node->vlan & packet::eth::vid_mask),
      .from = base::link_local(own),
      .to = packet::all_dhcp6_servers,
      .from_port = packet::udp::port_client6,
      .to_port = packet::udp::port_server6,
  };
  const auto finished =
      packet::finish_datagram6(std::span(frame, client6::frame_room), static_cast<size_t>(message_size), datagram);
  if (finished.empty()) return -1;
  skpack record = packet::frame_buffer(finished);
  packet::transmit(record, dhcpc6_golbal_config.ports, node->vlan, packet::SendMode::flood);
  return 0;
}

int dhcp6c_send_discover(Dhcp6cInterfaceNode* node) {
  Outgoing message(*node, MessageType6::solicit);
  if (node->ia != nullptr) {
    message.add(node->ia);
  } else {
    message.add_empty_ia(node->vlan);
  }
  message.add_wanted_options();
  return message.send("send discovery packet\n");
}

int dhcp6c_send_select(Dhcp6cInterfaceNode* node) {
  Outgoing message(*node, MessageType6::request);
  message.add(node->server_id);
  message.add(node->ia);
  message.add_wanted_options();
  return message.send("dhcpv6 client send requested packet\n");
}

int dhcp6c_send_renew(Dhcp6cInterfaceNode* node, int rebind) {
  Outgoing message(*node, rebind != 0 ? MessageType6::rebind : MessageType6::renew);
  message.add(node->server_id);
  message.add(node->ia);
  return message.send(rebind != 0 ? "DHCPv6 client Send the rebind packet\n" : "DHCPv6 client Send the renew packet\n");
}

int dhcp6c_send_release(Dhcp6cInterfaceNode* node) {
  Outgoing message(*node, MessageType6::release);
  message.add(node->server_id);
  message.add(node->ia);
  return message.send("DHCPv6 client send released packet\n");
}

int dhcp6c_add_client_options(uint8_t* message, int offset) {
  return dhcp6_add_option(message, offset, packet::option6::option_request, client6::wanted_options.size(),
                          client6::wanted_options.data());
}
