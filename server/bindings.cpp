#include "server/bindings.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/chain_table.h"
#include "base/log.h"
#include "base/os.h"
#include "packet/frame4.h"
#include "server/conflicts.h"
#include "server/selection.h"

namespace dhcp::server {

/// The record, and what the indexes need.
struct BindingNode : DhcpBinding {
  base::Chain<BindingNode> by_ip, by_client;
  uint64_t born = 0;  // order of creation
};

void FreeNode::operator()(BindingNode* node) const { delete node; }

namespace {

struct Indexes {
  base::ChainTable<BindingNode, &BindingNode::by_ip> by_ip;
  base::ChainTable<BindingNode, &BindingNode::by_client> by_client;
  /// How many bindings are stored under a key of each length: only those lengths can match a client.
  std::array<int32_t, DHCPS_CLIENT_ID_SIZE + 1> of_length;
  uint64_t births;
};

Indexes indexes;

BindingNode& node_of(DhcpBinding& binding) { return static_cast<BindingNode&>(binding); }

uint32_t stored_hash(const DhcpBinding& binding) {
  base::ByteHash hash(binding.id_type);
  for (size_t i = 0; i < binding.id_len; ++i) hash.add(binding.client_id[i]);
  return hash.value();
}

void index(BindingNode& node) {
  node.born = ++indexes.births;
  indexes.by_ip.insert(node, base::address_hash(node.ip));
  indexes.by_client.insert(node, stored_hash(node));
  ++indexes.of_length[node.id_len];
}

void unindex(BindingNode& node) {
  indexes.by_ip.remove(node);
  indexes.by_client.remove(node);
  --indexes.of_length[node.id_len];
}

void fill(DhcpBinding& binding, const ClientKey& key, uint32_t xid, uint32_t pool_id, uint32_t ip) {
  std::copy(key.bytes.begin(), key.bytes.end(), binding.client_id);
  binding.id_type = key.type;
  binding.id_len = key.length;
  binding.ip = ip;
  binding.expire = base::now32() + offer_hold_s;
  binding.pool_id = pool_id;
  binding.xid = xid;
  binding.state = DHCPS_OFFERED;
}

/// Takes a binding out of the list and the indexes. The caller holds the bindings' word.
SpareNode take_off(DhcpBinding& binding, DhcpPool& pool) {
  BindingNode& node = node_of(binding);
  unindex(node);
  base::unlink_record(dhcps_cfg.bindings, &node);
  --pool.binding_count;
  address_released(node.ip);
  return SpareNode(&node);
}

/// Deletes the bindings that `matches` accepts, under the bindings' word; null pool = the binding's own, by its id.
template <class Match>
void delete_bindings(DhcpPool* pool, Match matches) {
  const base::BusyGuard busy(dhcps_cfg.bindings.busy);
  for (DhcpBinding& binding : base::Records<DhcpBinding>(dhcps_cfg.bindings.head)) {
    if (matches(binding)) dhcp_delete_binding(&binding, pool);
  }
}

}  // namespace

SpareNode take_back(const ClientKey& key, DhcpPool& pool) {
  const base::BusyGuard busy(dhcps_cfg.bindings.busy);
  DhcpBinding* binding = find_binding(key, pool.pool_id, 0);
  return binding != nullptr ? take_off(*binding, pool) : nullptr;
}

uint32_t address_of(const BindingNode& node) { return node.ip; }

DhcpBinding* add_binding(const ClientKey& key, uint32_t xid, DhcpPool& pool, uint32_t ip, SpareNode spare) {
  constexpr const char* function = "dhcp_add_binding";
  if (dhcps_cfg.bindings.count >= DHCPS_MAX_BINDINGS) {
    DHCP_LOG_FROM(function, __LINE__, 7, base::module_frame, "dhcpc", "[%s:%d]reach max dhcp binding count %d limit\n",
                  function, __LINE__, int{DHCPS_MAX_BINDINGS});
    return nullptr;
  }
  BindingNode* node = spare != nullptr ? spare.release() : new (std::nothrow) BindingNode;
  if (node == nullptr) {
    DHCP_LOG_FROM(function, __LINE__, 7, base::module_frame, "dhcpc", "[%s:%d]malloc failed for dhcp binding!\n",
                  function, __LINE__);
    return nullptr;
  }
  *node = {};
  fill(*node, key, xid, pool.pool_id, ip);
  const base::BusyGuard busy(dhcps_cfg.bindings.busy);
  link_record(dhcps_cfg.bindings, node);
  ++pool.binding_count;
  index(*node);
  return node;
}

DhcpBinding* find_binding(const ClientKey& key, std::optional<uint32_t> pool_id, uint32_t ip) {
  BindingNode* newest = nullptr;
  base::ByteHash hash(key.type);
  for (size_t length = 0; length <= key.bytes.size(); ++length) {
    if (length > 0) hash.add(key.bytes[length - 1]);
    if (indexes.of_length[length] == 0) continue;
    BindingNode* found = indexes.by_client.find(hash.value(), [&](const BindingNode& node) {
      return node.id_type == key.type && node.id_len == length &&
             memcmp(node.client_id, key.bytes.data(), length) == 0 &&
             (!pool_id || (node.pool_id == *pool_id && (ip == 0 || node.ip == ip)));
    });
    if (found != nullptr && (newest == nullptr || found->born > newest->born)) newest = found;
  }
  return newest;
}

bool bound(uint32_t ip) {
  const base::BusyGuard busy(dhcps_cfg.bindings.busy);
  return indexes.by_ip.find(base::address_hash(ip), [ip](const BindingNode& node) { return node.ip == ip; }) != nullptr;
}

void reset_bindings() {
  for (DhcpBinding& binding : base::Records<DhcpBinding>(dhcps_cfg.bindings.head)) {
    unindex(node_of(binding));
    free_record(dhcps_cfg.bindings, &node_of(binding));
  }
  for (DhcpPool& pool : pools()) pool.binding_count = 0;
  delete_all_conflicts();
  addresses_changed();
}

}  // namespace dhcp::server

using namespace dhcp;

DhcpBinding* dhcp_add_binding(skpack* skp, DhcpPool* pool, uint32_t ip) {
  const auto frame = packet::Frame4::parse(*skp);
  if (!frame) return nullptr;
  return server::add_binding(server::client_key(frame->message()), frame->message().xid(), *pool, ip);
}

DhcpBinding* dhcp_get_binding(skpack* skp, uint32_t pool_id, uint32_t ip) {
  if (dhcps_cfg.bindings.count < 1) return nullptr;
  const auto frame = packet::Frame4::parse(*skp);
  if (!frame) return nullptr;
  const auto pool = pool_id != 0 ? std::optional(pool_id) : std::nullopt;
  return server::find_binding(server::client_key(frame->message()), pool, ip);
}

int dhcp_delete_binding(DhcpBinding* binding, DhcpPool* pool) {
  if (pool == nullptr) pool = dhcp_get_pool_by_id(binding->pool_id);
  if (pool == nullptr) return -1;
  server::take_off(*binding, *pool);
  return 0;
}

int dhcp_delete_pool_ref_binding(DhcpPool* pool) {
  server::delete_bindings(pool, [pool](const DhcpBinding& binding) { return binding.pool_id == pool->pool_id; });
  return 0;
}

int dhcp_delete_out_range_binding(DhcpPool* pool) {
  server::delete_bindings(pool, [pool](const DhcpBinding& binding) {
    return binding.pool_id == pool->pool_id && (binding.ip < pool->start_ip || binding.ip > pool->end_ip);
  });
  return 0;
}

void dhcps_binding_expire_timeout() {
  const uint32_t now = base::now32();
  server::delete_bindings(nullptr, [now](const DhcpBinding& binding) {
    return binding.expire != server::infinite_lease && binding.expire <= now;
  });
}
