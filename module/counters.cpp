/// The counts of all services, as one list.
#include "dhcp/counters.h"

#include <array>

#include "client6/counters.h"
#include "module/counters.h"
#include "packet/message_names.h"
#include "relay/relay.h"
#include "relay6/relay6.h"
#include "server/counters.h"
#include "server6/counters.h"
#include "snooping/counters.h"
#include "snooping6/snooping6.h"

namespace dhcp::module {

DispatchCounts dispatch_counts;

namespace {

const char* dispatch_verdict_name(int verdict) {
  constexpr std::array<const char*, DHCP_DISPATCH_VERDICTS> names{"unusable", "no service", "for the device"};
  const auto index = static_cast<size_t>(verdict);
  return index < names.size() ? names[index] : "unknown";
}

/// The name of a verdict for which a service has an enumeration: no other number may become one.
template <class Verdict, int verdicts, const char* (*name)(Verdict)>
const char* name_of(int verdict) {
  return verdict >= 0 && verdict < verdicts ? name(static_cast<Verdict>(verdict)) : "unknown";
}

/// What a service brings along.
struct Service {
  const char* name;
  base::FrameCountView counts;
  const char* (*reason)(int);
  const char* (*message)(unsigned);
};

/// In the order of enum DhcpService.
constinit const std::array<Service, DHCP_SERVICES> services{{
    {"dispatch", dispatch_counts.view(), dispatch_verdict_name, packet::message_name4},
    {"snooping", snooping::frame_counts.view(), dhcp_snoop_verdict_name, packet::message_name4},
    {"relay", relay::frame_counts.view(), name_of<DhcpRelayVerdict, DHCPR_VERDICTS, dhcp_relay_verdict_name>,
     packet::message_name4},
    {"server", server::frame_counts.view(), dhcp_server_verdict_name, packet::message_name4},
    {"snooping6", snooping6::frame_counts.view(), dhcp_snoop_verdict_name, packet::message_name6},
    {"relay6", relay6::frame_counts.view(), name_of<Dhcp6RelayVerdict, DHCP6_RELAY_VERDICTS, dhcp6_relay_verdict_name>,
     packet::message_name6},
    {"server6", server6::frame_counts.view(), dhcp6_server_verdict_name, packet::message_name6},
    {"client6", client6::frame_counts.view(), name_of<Dhcp6cVerdict, DHCP6C_VERDICTS, dhcp6c_verdict_name>,
     packet::message_name6},
}};

const Service* find_service(int service) {
  const auto index = static_cast<size_t>(service);
  return index < services.size() ? &services[index] : nullptr;
}

/// Hands every count of a service that is not 0 to `use`.
template <class Use>
void each_count(uint8_t service, const base::FrameCountView& counts, Use use) {
  for (size_t row = 0; row < base::count_rows; ++row) {
    for (size_t fate = 0; fate < counts.fates(); ++fate) {
      for (size_t type = 0; type < counts.types(); ++type) {
        const uint32_t count = counts.at(row, fate, type);
        if (count == 0) continue;
        use(DhcpCounter{base::interface_of_row(row), count, service, static_cast<uint8_t>(type),
                        static_cast<uint8_t>(fate)});
      }
    }
  }
}

}  // namespace

}  // namespace dhcp::module

using namespace dhcp::module;

int dhcp_get_counters(DhcpCounter* out, int room) {
  int found = 0;
  for (size_t service = 0; service < services.size(); ++service) {
    each_count(static_cast<uint8_t>(service), services[service].counts, [&](const DhcpCounter& counter) {
      if (found < room) out[found] = counter;
      ++found;
    });
  }
  return found;
}

void dhcp_clear_counters() {
  dispatch_counts.view().clear();
  dhcp::server::frame_counts.view().clear();
  dhcp_snooping_statistics_clear(0);
  dhcp6_snooping_statistics_clear(0);
  dhcp_relay_clear_counters();
  dhcp6_relay_clear_counters();
  dhcp6_server_clear_counters();
  dhcp6c_clear_counters();
}

const char* dhcp_service_name(int service) {
  const Service* found = find_service(service);
  return found != nullptr ? found->name : "unknown";
}

const char* dhcp_reason_name(int service, int reason) {
  const Service* found = find_service(service);
  return found != nullptr ? found->reason(reason) : "unknown";
}

const char* dhcp_message_type_name(int service, int type) {
  const Service* found = find_service(service);
  return found != nullptr ? found->message(static_cast<unsigned>(type)) : "other";
}
