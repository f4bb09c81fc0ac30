#include "soak/strangers.h"

#include <algorithm>

#include "dhcp/server6.h"

namespace soak {

using wire::Message;
using wire::Message6;
using wire::operator+;

Mac Strangers::somebody() {
  // Mostly from a crowd that comes again, sometimes anybody.
  const uint32_t n = dice_.one_in(4) ? dice_.below(1 << 16) : dice_.below(300);
  return {0x02, 0x66, 0, 0, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)};
}

uint32_t Strangers::some_port() { return dice_.one_in(200) ? dice_.word() : 1 + dice_.below(28); }

uint16_t Strangers::some_vlan() {
  const uint16_t known[] = {client_vlan, client_vlan, server_vlan, own_vlan};
  return dice_.one_in(20) ? static_cast<uint16_t>(dice_.word()) : known[dice_.below(4)];
}

uint32_t Strangers::some_ip() {
  const uint32_t bases[] = {wire::ip(192, 168, 0, 0), wire::ip(10, 20, 0, 0), wire::ip(10, 1, 0, 0), 0};
  return bases[dice_.below(4)] + dice_.below(400);
}

wire::Ip6 Strangers::some_ip6() {
  auto ip = wire::ip6(dice_.one_in(2) ? "2001:db8:a::" : dice_.one_in(2) ? "2001:db8:14::" : "fe80::1:0");
  ip[14] = static_cast<uint8_t>(dice_.below(2));
  ip[15] = dice_.byte();
  return ip;
}

Bytes Strangers::client4() {
  Message message(static_cast<int>(dice_.below(10)), somebody());
  message.xid(dice_.word()).vlan(some_vlan());
  if (dice_.one_in(3)) message.ip_option(54, dice_.one_in(4) ? some_ip() : own_ip);
  if (dice_.one_in(2)) message.ip_option(50, some_ip());
  if (dice_.one_in(3)) message.ciaddr(some_ip());
  if (dice_.one_in(8)) message.giaddr(some_ip());
  if (dice_.one_in(8)) message.broadcast_flag();
  if (dice_.one_in(6)) message.option(61, dice_.bytes(dice_.below(40)));
  if (dice_.one_in(6)) message.option(55, dice_.bytes(dice_.below(30)));
  if (dice_.one_in(10)) message.option(82, dice_.bytes(dice_.below(60)));
  if (dice_.one_in(6)) message.option(dice_.byte(), dice_.bytes(dice_.below(256)));
  if (dice_.one_in(20)) message.raw_options(dice_.bytes(dice_.below(400)));
  if (dice_.one_in(10)) message.from(somebody());
  if (dice_.one_in(30)) message.untagged();
  return message.frame();
}

Bytes Strangers::server4() {
  Message message(static_cast<int>(dice_.below(10)), somebody());
  message.at(0, {2}).xid(dice_.word()).at(16, wire::be32(wire::ip(10, 1, 0, 0) + dice_.below(400)));
  message.vlan(some_vlan())
      .from(dice_.one_in(2) ? server_mac : somebody())
      .from_ip(dice_.one_in(2) ? server_ip : some_ip());
  if (!dice_.one_in(4)) message.ip_option(54, server_ip);
  if (!dice_.one_in(4)) message.ip_option(51, dice_.below(4000));
  if (dice_.one_in(6)) message.option(82, dice_.bytes(dice_.below(60)));
  if (dice_.one_in(6)) message.option(dice_.byte(), dice_.bytes(dice_.below(256)));
  if (relays(switch_.life()) && dice_.one_in(2)) message.unicast_to(own_mac, wire::ip(10, 20, 0, 1));
  return message.frame();
}

Bytes Strangers::one_option6() {
  const Bytes address = wire::ia_address(some_ip6(), dice_.below(5000), dice_.below(5000));
  const uint32_t iaid = dice_.below(4);
  switch (dice_.below(8)) {
    case 0: return wire::option6(2, {std::begin(dhcp6s_cfg.duid), std::end(dhcp6s_cfg.duid)});
    case 1: return wire::option6(2, dice_.bytes(dice_.below(20)));
    case 2: return wire::ia_na(iaid, address, dice_.below(100), dice_.below(100));
    case 3: return wire::ia_na(iaid, {});
    case 4: return wire::ia_ta(iaid, address);
    case 5: return wire::option6(13, dice_.bytes(2 + dice_.below(20)));
    case 6: return wire::option6(6, dice_.bytes(2 * dice_.below(8)));
    default: return wire::option6(static_cast<int>(dice_.below(60)), dice_.bytes(dice_.below(120)));
  }
}

Bytes Strangers::options6() {
  const Mac mac = somebody();
  Bytes options = dice_.one_in(10) ? Bytes{} : wire::option6(1, Bytes{0, 3, 0, 1} + Bytes(mac.begin(), mac.end()));
  for (uint32_t more = dice_.below(5); more > 0; --more) options = options + one_option6();
  return options;
}

Bytes Strangers::message6(int type) {
  Message6 message(type, somebody(), options6());
  message.xid(dice_.word()).vlan(some_vlan());
  if (dice_.one_in(4)) message.from_ip(some_ip6());
  if (dice_.one_in(4)) message.from_server();
  if (dice_.one_in(6)) message.to(dice_.one_in(2) ? own_mac : somebody(), some_ip6());
  if (dice_.one_in(30)) message.udp_length(static_cast<uint16_t>(dice_.word()));
  if (dice_.one_in(30)) message.untagged();
  return message.frame();
}

Bytes Strangers::relayed6(int type, int depth) {
  Bytes carried = Bytes{static_cast<uint8_t>(dice_.below(14)), 1, 2, dice_.byte()} + options6();
  for (; depth > 0; --depth) carried = wire::option6(9, carried);
  return Message6::relayed(type, somebody(), static_cast<int>(dice_.below(40)), some_ip6(), some_ip6(),
                           dice_.one_in(8) ? options6() : carried)
      .vlan(some_vlan())
      .from_ip(some_ip6())
      .frame();
}

/// What happens to frames on a bad line, and what somebody does who wants to see what happens. The Ethernet addresses
/// stay: they are what tells a stranger from a resident.
void Strangers::damage(Bytes& frame, size_t headers) {
  const auto within = [&](size_t from) {
    return from < frame.size() ? from + dice_.below(static_cast<uint32_t>(frame.size() - from)) : frame.size();
  };
  switch (dice_.below(6)) {
    case 0: frame.resize(dice_.below(static_cast<uint32_t>(frame.size()) + 1)); break;
    case 1: frame = frame + dice_.bytes(dice_.below(600)); break;
    case 2:
      for (uint32_t flips = 1 + dice_.below(8); flips > 0; --flips) {
        if (const size_t at = within(12); at < frame.size()) frame[at] = dice_.byte();
      }
      break;
    case 3:  // a length that lies
      if (const size_t at = within(headers); at < frame.size()) frame[at] = dice_.one_in(2) ? 0xff : 0;
      break;
    case 4: frame.resize(std::min(frame.size(), within(headers))); break;
    default:
      if (const size_t at = within(12); at < frame.size())
        std::fill(frame.begin() + static_cast<long>(at), frame.end(), dice_.byte());
  }
}

/// Half of those who are offered an address want it.
void Strangers::take_up(Family family) {
  const auto answers = Switch::sent();
  if (answers.empty() || !serves(switch_.life()) || dice_.one_in(2)) return;
  if (wire::array_at<Mac>(answers[0].bytes, 6) != own_mac) return;  // what no pool is for goes on as it came
  if (family == Family::ip4) {
    const wire::Reply offer(answers[0]);
    if (!offer.faults.empty() || offer.type != wire::OFFER) return;
    const auto client = wire::array_at<Mac>(offer.message, 28);
    Message request(wire::REQUEST, client);
    request.ip_option(54, offer.vlan == server_vlan ? wire::ip(10, 20, 0, 1) : own_ip).ip_option(50, offer.yiaddr);
    switch_.receive(request.vlan(static_cast<uint16_t>(offer.vlan)).frame(), some_port(), family);
  } else {
    const wire::Reply6 offer(answers[0].bytes);
    if (!offer.faults.empty() || offer.type != wire::ADVERTISE6) return;
    Bytes options;
    for (const int code : {1, 2, 3}) options = options + wire::option6(code, offer.option(code));
    switch_.receive(Message6(wire::REQUEST6, offer.to_mac, options).vlan(static_cast<uint16_t>(offer.vlan)).frame(),
                    some_port(), family);
  }
  Switch::sent();
}

void Strangers::speak() {
  const Family family = dice_.one_in(2) ? Family::ip4 : Family::ip6;
  Bytes frame;
  if (family == Family::ip4) {
    frame = dice_.one_in(3) ? server4() : client4();
  } else {
    const auto type = static_cast<int>(dice_.below(14));
    frame = type >= wire::RELAY_FORW6 ? relayed6(type, static_cast<int>(1 + dice_.below(3))) : message6(type);
  }
  if (dice_.one_in(4)) damage(frame, family == Family::ip4 ? 280 : 66);
  const uint32_t port = dice_.one_in(4) ? uplink : some_port();
  // Memory is short now and then, and all the others have to live with it.
  if (dice_.one_in(500)) fake::fail_allocations(static_cast<int>(1 + dice_.below(3)), static_cast<int>(dice_.below(3)));
  switch_.receive(frame, port, dice_.one_in(300) ? (family == Family::ip4 ? Family::ip6 : Family::ip4) : family);
  fake::fail_allocations(0);
  take_up(family);
}

}  // namespace soak
