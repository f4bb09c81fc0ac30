/// The dispatcher: what a frame passes, stage by stage, and what becomes of the other events.
#include <array>
#include <cstdio>

#include "base/log.h"
#include "base/mac.h"
#include "base/services.h"
#include "dhcp/client6.h"
#include "dhcp/relay.h"
#include "dhcp/relay6.h"
#include "dhcp/server.h"
#include "dhcp/server6.h"
#include "dhcp/snooping.h"
#include "dhcp/snooping6.h"
#include "module/counters.h"
#include "module/module.h"
#include "module/watch.h"
#include "packet/bytes.h"
#include "packet/nic.h"
#include "platform/adp.h"

namespace dhcp::module {

namespace {

/// What a stage's answer means for the stages after it.
enum class Answer {
  ignored,   // the frame goes on
  consumes,  // after a non-zero answer the frame is no other service's
};

/// One service on the way of a frame. A stage that is asked `always` sees also what an earlier one has consumed.
struct Stage {
  bool (*on)(const skpack&);
  const char* name;
  const char* receive_text;
  int (*process)(skpack*);
  Answer answer;
  bool always = false;
};

/// A service that is on is asked for every frame.
template <bool (*service_on)()>
bool when(const skpack& /*skp*/) {
  return service_on();
}

bool to_mac_of(const char* ifname, const skpack& skp) {
  if (skp.data == nullptr || skp.psize < sizeof(base::MacAddress)) return false;
  // Clients mostly broadcast, and no interface has a group address: nothing to ask the system for.
  const auto destination = base::MacAddress::from(skp.data);
  if (destination.is_group()) return false;
  return packet::own_mac(ifname) == destination;
}

/// The client's interface is this one, whatever the relay's is called.
bool to_eth0(const skpack& skp) { return to_mac_of("eth0", skp); }

/// Without the relay, what is addressed to the device itself on a snooping switch is for nobody.
int snoop(skpack* skp) {
  if (!base::relay_on() && to_mac_of(dhcpr_cfg.ifname, *skp)) {
    dispatch_counts.count(skp->in_intf, DHCP_DISPATCH_FOR_DEVICE, 0);
    return -1;
  }
  return dhcp_packet_snooping_process(skp);
}

constexpr std::array ipv4_stages{
    Stage{when<base::snooping_on>, "DHCP snooping", "DHCP Snooping Receive dhcp packet\n", snoop, Answer::consumes},
    Stage{when<base::relay_on>, "DHCP relay", "DHCP Relay GET A PACKET!\n", dhcpr_packet_process, Answer::ignored},
    Stage{when<base::server_on>, "DHCP Server", "DHCP Server receive packet\n", dhcp_server_packet_process,
          Answer::ignored},
};

constexpr std::array ipv6_stages{
    Stage{when<base::snooping6_on>, "DHCP6 Snooping ", "DHCP6 snooping receive packet\n", dhcp6_packet_snooping_process,
          Answer::consumes},
    Stage{when<base::relay6_on>, "DHCP6 relay ", "DHCP6 relay receive packet\n", dhcp6_relay_packet_process,
          Answer::ignored},
    Stage{when<base::server6_on>, "DHCP6 server ", "DHCP6 server receive packet\n", dhcp6_server_packet_process,
          Answer::ignored},
    Stage{to_eth0, "DHCP6 client ", "DHCP6 client receive packet\n", dhcp6_client_packet_process, Answer::ignored,
          true},
};

void walk(std::span<const Stage> stages, skpack* skp) {
  bool asked = false, consumed = false;
  for (const Stage& stage : stages) {
    if ((consumed && !stage.always) || !stage.on(*skp)) continue;
    DHCP_LOG(base::module_service, stage.name, "%s", stage.receive_text);
    const int result = stage.process(skp);
    asked = true;
    if (stage.answer == Answer::consumes && result != 0) consumed = true;
  }
  if (!asked) dispatch_counts.count(skp->in_intf, DHCP_DISPATCH_NO_SERVICE, 0);
}

void hand_on(std::span<const Stage> stages, skpack* skp, bool usable) {
  if (usable) {
    walk(stages, skp);
  } else {
    dispatch_counts.count(skp->in_intf, DHCP_DISPATCH_UNUSABLE, 0);
  }
}

/// Apart from the usual way: whoever has room for a watch on its stack clears that room with every frame.
[[gnu::noinline]] void hand_on_watched(base::FrameSink sink, std::span<const Stage> stages, skpack* skp, bool usable) {
  const Watch watch(sink, *skp);
  hand_on(stages, skp, usable);
}

/// A frame is released here and nowhere else.
void frame_received(std::span<const Stage> stages, skpack* skp) {
  if (skp == nullptr) return;
  const bool usable = __adp_receive_frame(skp, 1) >= 0;
  if (const base::FrameSink sink = base::frame_sink.load(std::memory_order_relaxed)) {
    hand_on_watched(sink, stages, skp, usable);
  } else {
    hand_on(stages, skp, usable);
  }
  skpack_release(skp);
}

void ports_changed(DhcpEvent& event) {
  std::array<uint32_t, port_change_words> ports{};
  if (event.len == port_change_size && event.data != nullptr) {
    const auto* wire = static_cast<const uint8_t*>(event.data);
    for (size_t i = 0; i < ports.size(); ++i) ports[i] = packet::load_be32(wire + 4 * i);
    notice_port_change_to_dhcp(ports.data());
  }
  equeue_proc_finished_data(&event);
}

void nothing_received(const DhcpEvent& event) {
  fprintf(stderr, "p=%d, t=%ld, i=%ld \r\n", event.p, static_cast<long>(static_cast<int32_t>(event.type)),
          static_cast<long>(event.i));
}

void unknown_received(const DhcpEvent& event) {
  const long type = static_cast<int32_t>(event.type);
  DHCP_LOG_AT(base::module_frame, "dhcpc", "unknown evnet3! %ld\r\n", type);
  fprintf(stderr, "unknown evnet3! %ld\r\n", type);
}

}  // namespace

void dispatch(DhcpEvent& event) {
  switch (event.type) {
    case event_ipv4_frame: return frame_received(ipv4_stages, static_cast<skpack*>(event.data));
    case event_ipv6_frame: return frame_received(ipv6_stages, static_cast<skpack*>(event.data));
    case event_port_change: return ports_changed(event);
    case event_none: return nothing_received(event);
    default: return unknown_received(event);
  }
}

}  // namespace dhcp::module
