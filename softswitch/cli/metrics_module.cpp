/// What the module has to tell: frames, leases, bindings, helpers.
#include <array>

#include "dhcp/client6.h"
#include "dhcp/relay.h"
#include "dhcp/relay6.h"
#include "dhcp/server.h"
#include "dhcp/server6.h"
#include "platform/text.h"
#include "softswitch/cli/metrics.h"
#include "softswitch/cli/module_counters.h"
#include "softswitch/cli/records.h"
#include "softswitch/cli/snooping_family.h"

namespace dhcp::softswitch::cli {
namespace {

constexpr auto counter = Metric::Kind::counter, gauge = Metric::Kind::gauge;

Metric::Labels of_service(int service) { return {{"service", dhcp_service_name(service)}}; }
Metric::Labels of_service(int service, std::string_view label, std::string value) {
  return {{"service", dhcp_service_name(service)}, {label, std::move(value)}};
}

Metric frames() {
  Metric metric{"dhcp_frames_total", "Frames that a service of the DHCP module has seen, by what became of them.",
                counter};
  for (const DhcpCounter& c : module_counters()) {
    metric.add({{"service", dhcp_service_name(c.service)},
                {"port", c.intf == 0 ? "none" : str_intf_id(c.intf)},
                {"message", dhcp_message_type_name(c.service, c.type)},
                {"reason", dhcp_reason_name(c.service, c.reason)}},
               c.count);
  }
  return metric;
}

Metric services() {
  Metric metric{"dhcp_service_enabled", "Whether a service is on.", gauge};
  int relay = 0, relay6 = 0, server6 = 0, snooping = 0, snooping6 = 0;
  DHCPR_get_sts(&relay);
  get_dhcp6_relay_start(&relay6);
  get_dhcp6_server_start(&server6);
  get_dhcp_snoop_switch(&snooping);
  get_dhcp6_snoop_switch(&snooping6);
  const std::pair<int, bool> all[] = {
      {DHCP_SERVICE_SNOOPING, snooping != 0},       {DHCP_SERVICE_RELAY, relay != 0},
      {DHCP_SERVICE_SERVER, dhcps_cfg.enable != 0}, {DHCP_SERVICE_SNOOPING6, snooping6 != 0},
      {DHCP_SERVICE_RELAY6, relay6 != 0},           {DHCP_SERVICE_SERVER6, server6 != 0}};
  for (const auto& [service, on] : all) metric.add(of_service(service), on ? 1 : 0);
  return metric;
}

// --- Servers

struct Leases {
  uint32_t offered = 0, leased = 0, conflicts = 0;
};

Leases leases4() {
  Leases found;
  dhcp_server_mutex_lock_func();
  each_record<DhcpBinding>(dhcps_cfg.bindings.head, [&](const DhcpBinding& binding) {
    ++(binding.state == DHCPS_OFFERED ? found.offered : found.leased);
  });
  found.conflicts = static_cast<uint32_t>(dhcps_cfg.conflicts.count);
  dhcp_server_mutex_unlock_func();
  return found;
}

Leases leases6() {
  Leases found;
  std::vector<Dhcp6Binding> bindings(DHCP6S_MAX_BINDINGS);
  const int count = dhcp6_server_get_bindings(bindings.data(), DHCP6S_MAX_BINDINGS);
  for (int i = 0; i < count && i < DHCP6S_MAX_BINDINGS; ++i)
    ++(bindings[static_cast<size_t>(i)].state == DHCP6S_BOUND ? found.leased : found.offered);
  found.conflicts = static_cast<uint32_t>(dhcp6_server_get_conflicts(nullptr, 0));
  return found;
}

void add_servers(std::vector<Metric>& metrics) {
  Metric leases{"dhcp_leases", "Addresses that a server has given or offered to clients.", gauge};
  Metric most{"dhcp_leases_limit", "Leases and offers that a server can hold.", gauge};
  Metric conflicts{"dhcp_conflicts", "Addresses that a server keeps back because somebody else uses them.", gauge};
  const std::pair<int, Leases> all[] = {{DHCP_SERVICE_SERVER, leases4()}, {DHCP_SERVICE_SERVER6, leases6()}};
  for (const auto& [service, found] : all) {
    leases.add(of_service(service, "state", "offered"), found.offered);
    leases.add(of_service(service, "state", "leased"), found.leased);
    conflicts.add(of_service(service), found.conflicts);
  }
  most.add(of_service(DHCP_SERVICE_SERVER), uint32_t{DHCPS_MAX_BINDINGS});
  most.add(of_service(DHCP_SERVICE_SERVER6), uint32_t{DHCP6S_MAX_BINDINGS});
  for (Metric* metric : {&leases, &most, &conflicts}) metrics.push_back(std::move(*metric));
}

// --- Snooping

struct SnoopingMetrics {
  Metric bindings{"dhcp_snooping_bindings", "Clients that snooping knows.", gauge};
  Metric failures{"dhcp_snooping_database_write_failures_total", "Times that the file of bindings was not written.",
                  counter};
  Metric written{"dhcp_snooping_database_last_write_timestamp_seconds",
                 "When the file of bindings was last written, 0 = never.", gauge};

  template <class Family>
  void add() {
    uint32_t counts[2][2] = {};
    for (const auto& binding : all_bindings<Family>()) ++counts[binding.state != 0][binding.is_static != 0];
    for (const bool bound : {false, true})
      for (const bool fixed : {false, true})
        bindings.add({{"service", dhcp_service_name(Family::service)},
                      {"state", bound ? "bound" : "learning"},
                      {"type", fixed ? "static" : "dynamic"}},
                     counts[bound][fixed]);
    DhcpSnoopDatabase file{};
    Family::get_database(&file);
    failures.add(of_service(Family::service), file.write_failures);
    written.add(of_service(Family::service), file.last_write);
  }
};

void add_snooping(std::vector<Metric>& metrics) {
  SnoopingMetrics all;
  all.add<Snooping4>();
  all.add<Snooping6>();
  Metric rogues{"dhcp_snooping_rogue_messages_total", "Messages of IPv4 servers on ports without trust.", counter};
  DhcpSnoopRogue rogue{};
  dhcp_snoop_get_rogue(&rogue);
  rogues.add({}, rogue.seen);
  for (Metric* metric : {&all.bindings, &all.failures, &all.written, &rogues}) metrics.push_back(std::move(*metric));
}

// --- Relays and the client

struct HelperMetrics {
  Metric known{"dhcp_relay_helper_known", "Whether the MAC of a helper's next hop is known.", gauge};
  Metric requests{"dhcp_relay_helper_requests_total", "Requests relayed to a helper.", counter};
  Metric replies{"dhcp_relay_helper_replies_total", "Replies that came back from a helper.", counter};

  template <class Helper>
  void add(int service, const std::string& address, bool is_known, const Helper& helper) {
    const auto labels = of_service(service, "helper", address);
    known.add(labels, is_known ? 1 : 0);
    requests.add(labels, helper.requests);
    replies.add(labels, helper.replies);
  }
};

void add_helpers(std::vector<Metric>& metrics) {
  HelperMetrics all;
  std::array<DhcpRelayHelper, DHCPR_MAX_HELPERS> helpers{};
  const size_t count = dhcp_relay_get_helpers(helpers.data(), helpers.size());
  for (size_t i = 0; i < count; ++i)
    all.add(DHCP_SERVICE_RELAY, dotted(helpers[i].ip), helpers[i].valid != 0, helpers[i]);
  std::array<Dhcp6RelayDestination, DHCP6_RELAY_MAX_DESTINATIONS> destinations{};
  const size_t count6 = dhcp6_relay_get_destinations(destinations.data(), destinations.size());
  for (size_t i = 0; i < count6; ++i)
    all.add(DHCP_SERVICE_RELAY6, ip6_text(destinations[i].ip6), destinations[i].state == DHCP6_RELAY_VALID,
            destinations[i]);
  for (Metric* metric : {&all.known, &all.requests, &all.replies}) metrics.push_back(std::move(*metric));
}

void add_relays(std::vector<Metric>& metrics) {
  Metric clients{"dhcp_relay_clients", "Clients whose requests a relay remembers.", gauge};
  Metric unknown{"dhcp_relay_unknown_destination_total", "Frames to a MAC that the switch has not learnt, not sent.",
                 counter};
  DhcpRelayCounters four{};
  dhcp_relay_get_counters(&four);
  Dhcp6RelayCounters six{};
  dhcp6_relay_get_counters(&six);
  clients.add(of_service(DHCP_SERVICE_RELAY), four.transactions);
  clients.add(of_service(DHCP_SERVICE_RELAY6), six.clients);
  unknown.add(of_service(DHCP_SERVICE_RELAY), four.unknown_destination);
  unknown.add(of_service(DHCP_SERVICE_RELAY6), six.unknown_destination);
  for (Metric* metric : {&clients, &unknown}) metrics.push_back(std::move(*metric));
  add_helpers(metrics);
}

Metric client6() {
  Metric metric{"dhcp_client6_sent_total", "Messages that the switch has sent as a DHCPv6 client.", counter};
  Dhcp6cCounters counters{};
  dhcp6c_get_counters(&counters);
  for (const int type : {1, 3, 5, 6, 8})
    metric.add({{"message", dhcp_message_type_name(DHCP_SERVICE_CLIENT6, type)}}, counters.sent[type]);
  return metric;
}

}  // namespace

void add_module_metrics(std::vector<Metric>& metrics) {
  metrics.push_back(frames());
  metrics.push_back(services());
  add_servers(metrics);
  add_snooping(metrics);
  add_relays(metrics);
  metrics.push_back(client6());
}

}  // namespace dhcp::softswitch::cli
