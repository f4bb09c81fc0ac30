/// Servers seen where none may stand: the last one for the displays, and a warning that cannot become a flood.
#include <algorithm>
#include <array>

#include "base/log.h"
#include "base/os.h"
#include "base/text.h"
#include "platform/text.h"
#include "snooping/counters.h"

namespace dhcp::snooping {

namespace {

constexpr uint32_t warning_interval_s = 60;  // a rogue is named once in this time
constexpr int warning_level = 4;

/// The rogues named of late. When all places are taken by rogues that were named within the interval a further one is
/// counted in silence, so a host that makes up its addresses writes no more than eight lines a minute.
std::array<DhcpSnoopRogue, 8> named;  // `time` is that of the warning, 0 = free
DhcpSnoopRogue last;

bool same_rogue(const DhcpSnoopRogue& a, const DhcpSnoopRogue& b) {
  return a.ip == b.ip && a.vlan == b.vlan && a.intf == b.intf && std::equal(a.mac, std::end(a.mac), b.mac);
}

/// The place of a rogue that is to be named now, or null. A clock that was set back makes a rogue be named again.
DhcpSnoopRogue* place_to_name(const DhcpSnoopRogue& rogue) {
  auto place = std::find_if(named.begin(), named.end(), [&](const auto& known) { return same_rogue(known, rogue); });
  if (place == named.end()) {
    place = std::max_element(named.begin(), named.end(),
                             [&](const auto& a, const auto& b) { return rogue.time - a.time < rogue.time - b.time; });
  }
  const bool named_of_late = place->time != 0 && rogue.time - place->time < warning_interval_s;
  return named_of_late ? nullptr : &*place;
}

void warn(const DhcpSnoopRogue& rogue) {
  char mac[18];
  DHCP_LOG_FROM(__func__, __LINE__, warning_level, base::module_service, "DHCPS_packet",
                "[%s:%d]rogue dhcp server:mac %s,ip %s,port %s,vlan %d", __func__, __LINE__,
                onu_mac2str(rogue.mac, mac), base::IpText(rogue.ip).c_str(), str_intf_id(rogue.intf), rogue.vlan);
}

}  // namespace

void note_rogue(const packet::Frame4& frame, int vlan) {
  DhcpSnoopRogue rogue{.time = base::now32(),
                       .ip = frame.ip_source(),
                       .mac = {},
                       .vlan = static_cast<uint16_t>(vlan),
                       .intf = frame.in_intf(),
                       .seen = last.seen + 1};
  const auto mac = frame.source();
  std::copy(mac.bytes.begin(), mac.bytes.end(), rogue.mac);
  last = rogue;
  if (DhcpSnoopRogue* place = place_to_name(rogue)) {
    *place = rogue;
    warn(rogue);
  }
}

const DhcpSnoopRogue& last_rogue() { return last; }

void forget_rogue() {
  named = {};
  last = {};
}

}  // namespace dhcp::snooping

int dhcp_snoop_get_rogue(DhcpSnoopRogue* out) {
  const dhcp::snooping::SnoopingLock lock;
  *out = dhcp::snooping::last;
  return 0;
}
