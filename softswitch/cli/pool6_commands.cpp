/// The lines of a DHCPv6 address pool: exactly those that the server saves, and their `no` forms.
#include <algorithm>
#include <memory>

#include "dhcp/server6.h"
#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {
namespace {

constexpr int limit_reached = -2;
constexpr uint32_t default_preferred_s = 43200, default_valid_s = 86400;

/// The pool as it stood when the line came; null when another operator has removed it meanwhile.
std::unique_ptr<Dhcp6Pool> pool_of(const Session& session) {
  std::vector<Dhcp6Pool> pools(DHCP6S_MAX_POOLS);
  const auto count = static_cast<size_t>(dhcp6_server_get_pools(pools.data(), DHCP6S_MAX_POOLS));
  for (size_t i = 0; i < std::min(count, pools.size()); ++i) {
    if (pools[i].pool_id == session.target()) return std::make_unique<Dhcp6Pool>(pools[i]);
  }
  return nullptr;
}

/// What the server's answer means to the operator; `otherwise` says why it may be -1 while the pool is there.
Outcome told(const Session& session, int result, const Fault& otherwise) {
  if (result == 0) return {};
  if (pool_of(session) == nullptr) return Fault{"the pool does not exist any more"};
  return otherwise;
}

Fault too_many(int limit, const char* what) { return {format("the pool has %d %s, no more fit", limit, what), 0}; }

// --- Network and lifetimes

Outcome set_network(Session& session, const Args& args) {
  const Value &start = args[0], &end = args[1];
  const bool by_length = end.number != 0;
  if (!by_length && end.ip6 < start.ip6) return Fault{"the range ends before it begins", 1};
  const int result = dhcp6_server_set_pool_network(session.target(), start.ip6.data(),
                                                   by_length ? nullptr : end.ip6.data(), static_cast<int>(end.number));
  return told(session, result, {"not a network for a pool", 0});
}

Outcome no_network(Session& session, const Args&) {
  return told(session, dhcp6_server_del_pool_network(session.target()), {"the pool has no network"});
}

Outcome set_lifetime(Session& session, const Args& args) {
  const uint32_t preferred = args[0].number, valid = args[1].number;
  if (preferred > valid) return Fault{"an address cannot be preferred for longer than it is valid", 0};
  return told(session, dhcp6_server_set_pool_lifetime(session.target(), preferred, valid), {"not lifetimes", 0});
}

Outcome default_lifetime(Session& session, const Args&) {
  const int result = dhcp6_server_set_pool_lifetime(session.target(), default_preferred_s, default_valid_s);
  return told(session, result, {"not lifetimes"});
}

// --- Names and DNS servers

Outcome add_domain(Session& session, const Args& args) {
  const int result = dhcp6_server_set_domain_name(session.target(), args[0].text.c_str());
  if (result == limit_reached) return too_many(DHCP6S_MAX_DOMAIN_NAMES, "domain names");
  return told(session, result, {"not a domain name", 0});
}

/// All of them, unless one is named.
Outcome remove_domain(Session& session, const Args& args) {
  if (!args.empty()) {
    const int result = dhcp6_server_del_domain_name(session.target(), args[0].text.c_str());
    return told(session, result, {"the pool has no such domain name", 0});
  }
  const auto pool = pool_of(session);
  for (int i = 0; pool != nullptr && i < pool->domain_count; ++i)
    dhcp6_server_del_domain_name(session.target(), pool->domain[i]);
  return {};
}

using Servers = std::vector<std::array<uint8_t, 16>>;

Servers servers_of(const Dhcp6Pool& pool) {
  Servers servers(static_cast<size_t>(pool.dns_count));
  for (size_t i = 0; i < servers.size(); ++i) std::copy_n(pool.dns[i], servers[i].size(), servers[i].begin());
  return servers;
}

Outcome put_servers(Session& session, const Servers& servers) {
  if (servers.empty()) return told(session, dhcp6_server_del_dns_srv(session.target()), {"the pool has no DNS server"});
  uint8_t wire[DHCP6S_MAX_DNS_SERVERS][16];
  for (size_t i = 0; i < servers.size(); ++i) std::copy(servers[i].begin(), servers[i].end(), wire[i]);
  const int result = dhcp6_server_set_dns_srv(session.target(), wire, static_cast<int>(servers.size()));
  return told(session, result, {"not addresses of DNS servers", 0});
}

/// The server saves one address a line, so every line adds to the list.
Outcome add_servers(Session& session, const Args& args) {
  const auto pool = pool_of(session);
  if (pool == nullptr) return told(session, -1, {});
  Servers servers = servers_of(*pool);
  for (const Value& value : args) {
    if (std::find(servers.begin(), servers.end(), value.ip6) != servers.end()) continue;
    if (servers.size() == DHCP6S_MAX_DNS_SERVERS) return too_many(DHCP6S_MAX_DNS_SERVERS, "DNS servers");
    servers.push_back(value.ip6);
  }
  return put_servers(session, servers);
}

Outcome remove_servers(Session& session, const Args& args) {
  const auto pool = pool_of(session);
  if (pool == nullptr) return told(session, -1, {});
  if (args.empty()) return put_servers(session, {});
  Servers servers = servers_of(*pool);
  if (std::erase(servers, args[0].ip6) == 0) return Fault{"the pool has no such DNS server", 0};
  return put_servers(session, servers);
}

// --- Addresses that are kept back

Outcome exclude(Session& session, const Args& args) {
  const int result = dhcp6_server_set_exclude_ip(session.target(), args[0].ip6.data());
  if (result == limit_reached) return too_many(DHCP6S_MAX_EXCLUDES, "excluded addresses");
  return told(session, result, {"not an address that could be handed out", 0});
}

Outcome no_exclude(Session& session, const Args& args) {
  const int result = dhcp6_server_del_exclude_ip(session.target(), args[0].ip6.data());
  return told(session, result, {"the pool does not exclude this address", 0});
}

Outcome set_host(Session& session, const Args& args) {
  const int result = dhcp6_server_set_static_host(session.target(), args[0].mac.data(), args[1].ip6.data());
  if (result == limit_reached) return too_many(DHCP6S_MAX_HOSTS, "static bindings");
  return told(session, result, {"outside the pool, or another host of the pool has this address", 1});
}

Outcome no_host(Session& session, const Args& args) {
  const int result = dhcp6_server_del_static_host(session.target(), args[0].mac.data());
  return told(session, result, {"the pool has no such host", 0});
}

constexpr Modes pool6 = in(Mode::pool6);

constexpr Command rows[] = {
    {pool6, "network-address START6 LENGTH_OR_END", "Addresses of the pool: a network, or a range", set_network,
     "network-address 2001:db8:10:: 64", "network-address [START6 LENGTH_OR_END]", no_network},
    {pool6, "lifetime PREFERRED VALID", "Lifetimes of the addresses, 43200 and 86400 by default", set_lifetime,
     "lifetime 3600 7200", "lifetime [PREFERRED VALID]", default_lifetime},
    {pool6, "domain-name DOMAIN6", "Domain name told to the clients, up to 3", add_domain, "domain-name lab.example",
     "domain-name [DOMAIN6]", remove_domain},
    {pool6, "dns-server DNS6...", "DNS servers told to the clients, up to 3", add_servers, "dns-server 2001:db8:10::53",
     "dns-server [DNS6]", remove_servers},
    {pool6, "excluded-address ADDRESS6", "Address that is never handed out", exclude, "excluded-address 2001:db8:10::1",
     "excluded-address ADDRESS6", no_exclude},
    {pool6, "static-binding MAC ADDRESS6", "Address kept for one client", set_host,
     "static-binding 02:00:00:00:00:51 2001:db8:10::51", "static-binding MAC [ADDRESS6]", no_host},
};

}  // namespace

std::span<const Command> pool6_commands() { return rows; }

}  // namespace dhcp::softswitch::cli
