/// What the DHCPv6 server holds and has done. People read the text files that it writes itself, programs its records.
#include "dhcp/server6.h"

#include <algorithm>

#include "softswitch/cli/readout_file.h"
#include "softswitch/cli/records.h"

namespace dhcp::softswitch::cli {
namespace {

/// `count` addresses that stand one behind the other.
Json addresses(const uint8_t (*list)[DHCP6S_ADDRESS_SIZE], int count) {
  Json out = Json::array();
  for (int i = 0; i < count; ++i) out.push_back(ip6_text(list[i]));
  return out;
}

bool any_set(std::span<const uint8_t> bytes) {
  return std::any_of(bytes.begin(), bytes.end(), [](uint8_t byte) { return byte != 0; });
}

Json pool_values(const Dhcp6Pool& pool) {
  const bool network = any_set(pool.start), by_prefix = pool.prefix_len != 0;
  Json names = Json::array(), hosts = Json::array();
  for (int i = 0; i < pool.domain_count; ++i) names.push_back(pool.domain[i]);
  for (int i = 0; i < pool.host_count; ++i)
    hosts.push_back(Json::object({{"mac", mac_text(pool.host[i].mac)}, {"ipv6", ip6_text(pool.host[i].ip6)}}));
  return Json::object({{"pool", pool.pool_id},
                       {"start", network ? Json(ip6_text(pool.start)) : Json()},
                       {"end", network && !by_prefix ? Json(ip6_text(pool.end)) : Json()},
                       {"prefix_length", by_prefix ? Json(pool.prefix_len) : Json()},
                       {"preferred_lifetime", pool.preferred != 0 ? Json(pool.preferred) : Json()},
                       {"valid_lifetime", pool.valid != 0 ? Json(pool.valid) : Json()},
                       {"domain_names", names},
                       {"dns_servers", addresses(pool.dns, pool.dns_count)},
                       {"excluded_addresses", addresses(pool.exclude, pool.exclude_count)},
                       {"hosts", hosts},
                       {"bindings", pool.binding_count}});
}

Json server() {
  int on = 0;
  get_dhcp6_server_start(&on);
  Json pools = Json::array();
  for (const Dhcp6Pool& pool : all_records(dhcp6_server_get_pools)) pools.push_back(pool_values(pool));
  return Json::object({{"enabled", on != 0}, {"pools", pools}});
}

Json lease(const Dhcp6Binding& binding) {
  constexpr uint16_t ia_ta = 4;  // RFC 8415 section 21.5
  const int64_t left = dhcp6_server_binding_left(&binding);
  return Json::object({{"ipv6", ip6_text(binding.ip6)},
                       {"type", binding.ia_type == ia_ta ? "IA_TA" : "IA_NA"},
                       {"iaid", binding.iaid},
                       {"client_id", hexadecimal({binding.client_id, binding.id_len})},
                       {"pool", binding.pool_id},
                       {"preferred_lifetime", binding.preferred},
                       {"valid_lifetime", binding.valid},
                       {"left", left < 0 ? int64_t{infinite_time} : left}});
}

Json leases() {
  Json rows = Json::array();
  for (const Dhcp6Binding& binding : all_records(dhcp6_server_get_bindings))
    if (binding.state == DHCP6S_BOUND) rows.push_back(lease(binding));
  return rows;
}

Json conflicts() {
  Json rows = Json::array();
  for (const Dhcp6ConflictIp& conflict : all_records(dhcp6_server_get_conflicts))
    rows.push_back(Json::object({{"ipv6", ip6_text(conflict.ip6)}, {"detected", conflict.time}}));
  return rows;
}

/// A column a message type would be wider than a screen: one line a fate and type that occurred.
Outcome show_statistics(Readout& out, const Args&) {
  constexpr const char* types[] = {"other", "solicit", "advertise", "request", "confirm", "renew",      "rebind",
                                   "reply", "release", "decline",   "reconf",  "inform",  "relay-forw", "relay-repl"};
  Dhcp6ServerCounters counters{};
  dhcp6_server_get_counters(&counters);
  Table table({{"fate", "Fate"}, {"message", "Message"}, {"frames", "Frames", Align::right}});
  for (int verdict = 0; verdict < DHCP6S_VERDICTS; ++verdict)
    for (size_t type = 0; type < std::size(types); ++type) {
      const uint32_t count = counters.count[verdict][type];
      if (count != 0) table.add({dhcp6_server_verdict_name(verdict), types[type], count});
    }
  out.add(table);
  return {};
}

constexpr Modes exec = in(Mode::exec);

constexpr Command rows[] = {
    {exec, "show ipv6 dhcp server", "State of the DHCPv6 server and all its pools",
     show_readout<show_dhcp6_server_conf, server>, "show ipv6 dhcp server"},
    {exec, "show ipv6 dhcp server statistics", "What became of the messages", show_statistics,
     "show ipv6 dhcp server statistics"},
    {exec, "show ipv6 dhcp binding", "IPv6 addresses given to clients", show_readout<show_dhcp6_server_binding, leases>,
     "show ipv6 dhcp binding"},
    {exec, "show ipv6 dhcp conflict", "IPv6 addresses found in use",
     show_readout<show_dhcp6_server_conflict, conflicts>, "show ipv6 dhcp conflict"},
};

}  // namespace

std::span<const Command> server6_readouts() { return rows; }

}  // namespace dhcp::softswitch::cli
