/// The lines of an address pool: exactly those that the server saves, and their `no` forms.
///
/// The server itself checks little, so what would never work is refused here, before anything is changed.
#include <algorithm>
#include <array>

#include "dhcp/server.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

constexpr int limit_reached = -2;
constexpr size_t max_addresses = 8;  // of a router or DNS server line
constexpr uint32_t infinite = 0xffffffff;
constexpr uint32_t default_lease_s = 86400;
constexpr uint16_t default_boot_file_blocks = 512;
constexpr uint8_t text_type = 1;  // any value but DHCPS_OPTION_HEX and DHCPS_OPTION_IP

/// What a line must fit, as it stood when the line came.
struct PoolFacts {
  uint32_t network = 0, mask = 0, start = 0, end = 0;
  bool has_network() const { return network != 0 && mask != 0; }
};

/// Nothing = the pool is gone: another operator may have removed it meanwhile.
std::optional<PoolFacts> facts_of(uint32_t pool_id) {
  std::optional<PoolFacts> facts;
  dhcp_server_mutex_lock_func();
  if (const DhcpPool* pool = dhcp_get_pool_by_id(pool_id)) {
    facts = PoolFacts{pool->network, pool->netmask, pool->start_ip, pool->end_ip};
  }
  dhcp_server_mutex_unlock_func();
  return facts;
}

bool taken_by_other_host(uint32_t pool_id, uint32_t ip) {
  dhcp_server_mutex_lock_func();
  DhcpPool* pool = dhcp_get_pool_by_id(pool_id);
  const bool taken = pool != nullptr && dhcp_get_static_host_by_ip(pool, ip) != nullptr;
  dhcp_server_mutex_unlock_func();
  return taken;
}

Fault pool_gone() { return {"the pool does not exist any more"}; }

Outcome done_or_gone(int result) {
  if (result == 0) return {};
  return pool_gone();
}

// --- Network and lease

Outcome set_network(Session& session, const Args& args) {
  const uint32_t network = args[0].number, mask = args[1].number, start = args[2].number, end = args[3].number;
  if (network == 0 || (network & ~mask) != 0) return Fault{"not a network address under this mask", 0};
  if ((start & mask) != network) return Fault{"outside the network", 2};
  if ((end & mask) != network) return Fault{"outside the network", 3};
  if (end < start) return Fault{"the range ends before it begins", 3};
  if (dhcp_server_set_pool_network(session.target(), network, mask, start, end) == 0) return {};
  if (!facts_of(session.target())) return pool_gone();
  return Fault{"another pool has this network", 0};
}

Outcome no_network(Session& session, const Args&) {
  return done_or_gone(dhcp_server_del_pool_network(session.target()));
}

/// Days, hours and minutes of which the last may be missing. A pool that never got a network saves "lease 0 0".
Outcome set_lease(Session& session, const Args& args) {
  constexpr std::array<uint32_t, 3> unit_s = {86400, 3600, 60};
  uint64_t seconds = 0;
  for (size_t i = 0; i < args.size(); ++i) seconds += uint64_t{args[i].number} * unit_s[i];
  if (seconds >= infinite) return Fault{"too long; type lease infinite for a lease without end", 0};
  return done_or_gone(dhcp_server_set_pool_lease(session.target(), static_cast<uint32_t>(seconds)));
}

Outcome set_infinite_lease(Session& session, const Args&) {
  return done_or_gone(dhcp_server_set_pool_lease(session.target(), infinite));
}

Outcome default_lease(Session& session, const Args&) {
  return done_or_gone(dhcp_server_set_pool_lease(session.target(), default_lease_s));
}

// --- Names

template <int (*set)(uint32_t, const char*)>
Outcome set_name(Session& session, const Args& args) {
  return done_or_gone(set(session.target(), args[0].text.c_str()));
}

template <int (*clear)(uint32_t)>
Outcome clear_item(Session& session, const Args&) {
  return done_or_gone(clear(session.target()));
}

Outcome set_boot_file_size(Session& session, const Args& args) {
  return done_or_gone(dhcp_server_set_boot_file_size(session.target(), static_cast<int>(args[0].number)));
}

Outcome default_boot_file_size(Session& session, const Args&) {
  return done_or_gone(dhcp_server_set_boot_file_size(session.target(), default_boot_file_blocks));
}

// --- Options

/// The server copies a whole value buffer whatever the length is, so it always gets one.
Outcome set_option(Session& session, uint32_t code, const uint8_t* bytes, size_t length, uint8_t type) {
  std::array<uint8_t, DHCPS_OPTION_VALUE_SIZE> value{};
  std::copy_n(bytes, length, value.begin());
  const int result = dhcp_server_set_pool_option(session.target(), static_cast<uint8_t>(code),
                                                 static_cast<uint8_t>(length), value.data(), type);
  if (result == 0) return {};
  return facts_of(session.target()) ? Fault{"out of memory"} : pool_gone();
}

Outcome hex_option(Session& session, const Args& args) {
  return set_option(session, args[0].number, args[1].bytes.data(), args[1].bytes.size(), DHCPS_OPTION_HEX);
}

Outcome address_option(Session& session, const Args& args) {
  const uint32_t ip = args[1].number;
  const std::array<uint8_t, 4> wire = {static_cast<uint8_t>(ip >> 24), static_cast<uint8_t>(ip >> 16),
                                       static_cast<uint8_t>(ip >> 8), static_cast<uint8_t>(ip)};
  return set_option(session, args[0].number, wire.data(), wire.size(), DHCPS_OPTION_IP);
}

Outcome text_option(Session& session, const Args& args) {
  const std::string& text = args[1].text;
  std::array<uint8_t, DHCPS_OPTION_VALUE_SIZE> bytes{};
  std::transform(text.begin(), text.end(), bytes.begin(), [](char c) { return static_cast<uint8_t>(c); });
  return set_option(session, args[0].number, bytes.data(), text.size(), text_type);
}

Outcome no_option(Session& session, const Args& args) {
  if (dhcp_server_del_pool_option(session.target(), static_cast<uint8_t>(args[0].number)) == 0) return {};
  return facts_of(session.target()) ? Fault{"the pool has no such option", 0} : pool_gone();
}

// --- Static hosts

Outcome set_host(Session& session, const Args& args) {
  const uint32_t ip = args[1].number;
  const int result = dhcp_server_set_static_host(session.target(), args[0].mac.data(), ip);
  if (result == 0) return {};
  if (result == limit_reached) {
    return Fault{"the pool has " + std::to_string(DHCPS_MAX_HOSTS) + " hosts, no more fit", 0};
  }
  const auto facts = facts_of(session.target());
  if (!facts) return pool_gone();
  if (!facts->has_network()) return Fault{"the pool has no network yet", 1};
  if (ip < facts->start || ip > facts->end) {
    return Fault{"outside the pool's range " + dotted(facts->start) + " to " + dotted(facts->end), 1};
  }
  if (taken_by_other_host(session.target(), ip)) return Fault{"another host of the pool has this address", 1};
  return Fault{"out of memory"};
}

Outcome no_host(Session& session, const Args& args) {
  if (dhcp_server_del_static_host(session.target(), args[0].mac.data()) == 0) return {};
  if (!facts_of(session.target())) return pool_gone();
  return Fault{"the pool has no such host, or its address is in an excluded range, which must go first", 0};
}

// --- Routers and DNS servers

template <int (*set)(uint32_t, const uint32_t*, int)>
Outcome set_addresses(Session& session, const Args& args) {
  if (args.size() > max_addresses) return Fault{"at most 8 addresses", static_cast<int>(max_addresses)};
  std::array<uint32_t, max_addresses> list{};
  std::transform(args.begin(), args.end(), list.begin(), [](const Value& v) { return v.number; });
  if (set(session.target(), list.data(), static_cast<int>(args.size())) == 0) return {};
  return facts_of(session.target()) ? Fault{"out of memory"} : pool_gone();
}

/// A router outside the subnet would leave the server with half of the list, so it is looked for first.
Outcome set_routers(Session& session, const Args& args) {
  const auto facts = facts_of(session.target());
  if (!facts) return pool_gone();
  for (size_t i = 0; i < args.size(); ++i) {
    if (!facts->has_network()) return Fault{"the pool has no network yet", static_cast<int>(i)};
    if ((args[i].number & facts->mask) != facts->network) {
      return Fault{"outside the pool's network " + dotted(facts->network), static_cast<int>(i)};
    }
  }
  return set_addresses<dhcp_server_set_router>(session, args);
}

constexpr Modes pool = in(Mode::pool);

constexpr Command rows[] = {
    {pool, "network NETWORK MASK START END", "Network and the range to hand out", set_network,
     "network 192.168.10.0 255.255.255.0 192.168.10.10 192.168.10.99", "network [NETWORK MASK START END]", no_network},
    {pool, "lease infinite", "Leases without end", set_infinite_lease, "lease infinite"},
    {pool, "lease DAYS [HOURS [MINUTES]]", "Lease time, one day by default", set_lease, "lease 0 1 30", "lease [TEXT]",
     default_lease},
    {pool, "domain-name DOMAIN", "Domain name of the clients", set_name<dhcp_server_set_domain_name>,
     "domain-name lab.example", "domain-name [DOMAIN]", clear_item<dhcp_server_del_domain_name>},
    {pool, "server-name SERVERNAME", "TFTP server name", set_name<dhcp_server_set_tftp_server>,
     "server-name tftp.lab.example", "server-name [SERVERNAME]", clear_item<dhcp_server_del_tftp_server>},
    {pool, "boot-file-name FILE", "Boot file name", set_name<dhcp_server_set_boot_file_name>,
     "boot-file-name images/node 1.img", "boot-file-name [FILE]", clear_item<dhcp_server_del_boot_file_name>},
    {pool, "boot-file-size BLOCKS", "Boot file size, 512 blocks by default", set_boot_file_size, "boot-file-size 2048",
     "boot-file-size [BLOCKS]", default_boot_file_size},
    {pool, "option CODE hex HEX", "Option with a value in hexadecimal", hex_option, "option 43 hex 0104c0a80a01"},
    {pool, "option CODE ip ADDRESS", "Option with an address", address_option, "option 42 ip 192.168.10.1"},
    {pool, "option CODE ascii TEXT", "Option with a text", text_option, "option 100 ascii CET-1CEST",
     "option CODE [TEXT]", no_option},
    {pool, "host MAC ADDRESS", "Address kept for one client", set_host, "host 02:00:00:00:00:51 192.168.10.51",
     "host MAC [ADDRESS]", no_host},
    {pool, "default-router ROUTER...", "Routers, best first", set_routers,
     "default-router 192.168.10.254 192.168.10.253", "default-router [ROUTER...]", clear_item<dhcp_server_del_router>},
    {pool, "dns-server SERVER...", "DNS servers, best first", set_addresses<dhcp_server_set_dns_srv>,
     "dns-server 192.0.2.53 198.51.100.53", "dns-server [SERVER...]", clear_item<dhcp_server_del_dns_srv>},
};

}  // namespace

std::span<const Command> pool_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
