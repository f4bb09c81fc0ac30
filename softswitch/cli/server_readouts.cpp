/// What the server holds. People read the text files that it writes itself, programs its records.
#include "dhcp/server.h"

#include <ctime>

#include "softswitch/cli/readout_file.h"
#include "softswitch/cli/records.h"

namespace dhcp::softswitch::cli {
namespace {

/// The server's lock, which guards all its lists.
class ServerLock {
 public:
  ServerLock() { dhcp_server_mutex_lock_func(); }
  ~ServerLock() { dhcp_server_mutex_unlock_func(); }
  ServerLock(const ServerLock&) = delete;
  ServerLock& operator=(const ServerLock&) = delete;
};

Json text_or_null(const char* text) { return text != nullptr ? Json(text) : Json(); }
Json ip_or_null(uint32_t ip) { return ip != 0 ? Json(dotted(ip)) : Json(); }

// --- Pools

Json addresses_of(const DhcpPoolList& list) {
  Json addresses = Json::array();
  each_record<DhcpIpNode>(list.head, [&](const DhcpIpNode& node) { addresses.push_back(dotted(node.ip)); });
  return addresses;
}

Json option(const DhcpPoolOption& option) {
  const std::span<const uint8_t> value(option.value, option.len);
  const auto of = [&](const char* type, const std::string& text) {
    return Json::object({{"code", option.code}, {"type", type}, {"value", text}});
  };
  if (option.type == DHCPS_OPTION_HEX) return of("hex", hexadecimal(value));
  if (option.type != DHCPS_OPTION_IP) return of("ascii", std::string(value.begin(), value.end()));
  uint32_t ip = 0;
  for (const uint8_t byte : value.first(std::min<size_t>(value.size(), sizeof ip))) ip = ip << 8 | byte;
  return of("ip", dotted(ip));
}

Json options_of(const DhcpPool& pool) {
  Json options = Json::array();
  each_record<DhcpPoolOption>(pool.options.head, [&](const DhcpPoolOption& one) { options.push_back(option(one)); });
  return options;
}

Json hosts_of(const DhcpPool& pool) {
  Json hosts = Json::array();
  each_record<DhcpStaticHost>(pool.hosts.head, [&](const DhcpStaticHost& host) {
    hosts.push_back(Json::object({{"mac", mac_text(host.mac)}, {"ip", dotted(host.ip)}}));
  });
  return hosts;
}

Json pool_values(const DhcpPool& pool) {
  const bool boots = pool.boot_file != nullptr;
  return Json::object({{"pool", pool.pool_id},
                       {"network", ip_or_null(pool.network)},
                       {"mask", ip_or_null(pool.netmask)},
                       {"start", ip_or_null(pool.start_ip)},
                       {"end", ip_or_null(pool.end_ip)},
                       {"lease", pool.lease != 0 ? Json(pool.lease) : Json()},
                       {"domain_name", text_or_null(pool.domain_name)},
                       {"default_routers", addresses_of(pool.routers)},
                       {"dns_servers", addresses_of(pool.dns_servers)},
                       {"options", options_of(pool)},
                       {"server_name", text_or_null(pool.server_name)},
                       {"boot_file", text_or_null(pool.boot_file)},
                       {"boot_file_size", boots ? Json(pool.boot_file_size) : Json()},
                       {"hosts", hosts_of(pool)},
                       {"bindings", pool.binding_count}});
}

Json server() {
  const ServerLock lock;
  Json pools = Json::array();
  each_record<DhcpPool>(dhcps_cfg.pools.head, [&](const DhcpPool& pool) { pools.push_back(pool_values(pool)); });
  return Json::object({{"enabled", dhcps_cfg.enable != 0}, {"pools", pools}});
}

Json pool_of(uint32_t pool_id) {
  const ServerLock lock;
  const DhcpPool* const pool = dhcp_get_pool_by_id(pool_id);
  return pool != nullptr ? pool_values(*pool) : Json();
}

Outcome show_pool(Readout& out, const Args& args) {
  const Json values = pool_of(args[0].number);
  if (values.is_null()) return Fault{"there is no such pool", 0};
  out.set(values);
  return show_file(out, show_dhcp_server_conf_pool, static_cast<int>(args[0].number));
}

// --- Clients

/// The identifier as in option 61 (RFC 2132 section 9.14): a type byte, then what is kept of the rest.
Json identifier(const DhcpBinding& binding) {
  const size_t kept = std::min<size_t>(binding.id_len, DHCPS_CLIENT_ID_SIZE);
  return hexadecimal({&binding.id_type, 1}) + hexadecimal({binding.client_id, kept});
}

Json lease(const DhcpBinding& binding, uint32_t now) {
  constexpr uint8_t ethernet = 1, mac_size = 6;
  const bool hardware = binding.id_type == ethernet && binding.id_len == mac_size;
  const bool ends = binding.expire != infinite_time;
  return Json::object({{"ip", dotted(binding.ip)},
                       {"mac", hardware ? Json(mac_text(binding.client_id)) : Json()},
                       {"client_id", identifier(binding)},
                       {"pool", binding.pool_id},
                       {"left", ends ? binding.expire - std::min(binding.expire, now) : infinite_time},
                       {"expires", ends ? Json(binding.expire) : Json()}});
}

/// The rows that `values(record)` gives of a list; a null is none.
template <class Record, class Values>
Json rows_of(const DhcpServerList& list, Values values) {
  const ServerLock lock;
  Json rows = Json::array();
  each_record<Record>(list.head, [&](const Record& record) {
    if (Json row = values(record); !row.is_null()) rows.push_back(std::move(row));
  });
  return rows;
}

Json leases() {
  const auto now = static_cast<uint32_t>(time(nullptr));
  return rows_of<DhcpBinding>(dhcps_cfg.bindings, [now](const DhcpBinding& binding) {
    return binding.state == DHCPS_ACKNOWLEDGED ? lease(binding, now) : Json();
  });
}

Json conflicts() {
  return rows_of<DhcpConflictIp>(dhcps_cfg.conflicts, [](const DhcpConflictIp& conflict) {
    return Json::object({{"ip", dotted(conflict.ip)}, {"detected", conflict.time}});
  });
}

Json excluded() {
  return rows_of<DhcpExcludeRange>(dhcps_cfg.excludes, [](const DhcpExcludeRange& range) {
    return Json::object({{"start", dotted(range.start_ip)}, {"end", dotted(range.end_ip)}});
  });
}

Json hosts() {
  const ServerLock lock;
  Json rows = Json::array();
  each_record<DhcpPool>(dhcps_cfg.pools.head, [&](const DhcpPool& pool) {
    each_record<DhcpStaticHost>(pool.hosts.head, [&](const DhcpStaticHost& host) {
      rows.push_back(Json::object({{"pool", pool.pool_id}, {"mac", mac_text(host.mac)}, {"ip", dotted(host.ip)}}));
    });
  });
  return rows;
}

constexpr Modes exec = in(Mode::exec);

constexpr Command rows[] = {
    {exec, "show ip dhcp server", "State of the server and all pools", show_readout<show_dhcp_server_conf, server>,
     "show ip dhcp server"},
    {exec, "show ip dhcp pool POOL", "One pool with all its lines", show_pool, "show ip dhcp pool 1"},
    {exec, "show ip dhcp binding", "Addresses given to clients", show_readout<show_dhcp_server_binding, leases>,
     "show ip dhcp binding | count"},
    {exec, "show ip dhcp conflict", "Addresses found in use", show_readout<show_dhcp_server_conflict, conflicts>,
     "show ip dhcp conflict"},
    {exec, "show ip dhcp excluded-address", "Addresses that are never handed out",
     show_readout<show_dhcp_server_exclude, excluded>, "show ip dhcp excluded-address"},
    {exec, "show ip dhcp host", "Addresses kept for one client each", show_readout<show_dhcp_server_host, hosts>,
     "show ip dhcp host"},
};

}  // namespace

std::span<const Command> server_readouts() { return rows; }

}  // namespace dhcp::softswitch::cli
