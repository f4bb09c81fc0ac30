#include "server6/bindings.h"

#include <algorithm>
#include <cstdio>

#include "base/chain_table.h"
#include "base/os.h"

namespace dhcp::server6 {

/// The record, and its places in the indexes.
struct BindingNode : Dhcp6Binding {
  base::Chain<BindingNode> by_ip, by_client;
};

void FreeNode::operator()(BindingNode* node) const { delete node; }

namespace {

struct Indexes {
  base::ChainTable<BindingNode, &BindingNode::by_ip> by_ip;
  base::ChainTable<BindingNode, &BindingNode::by_client> by_client;
};

Indexes indexes;

/// What counts of an identifier.
ClientId cut(ClientId client) { return client.first(std::min<size_t>(client.size(), DHCP6S_CLIENT_ID_SIZE)); }

ClientId client_of(const Dhcp6Binding& binding) { return {binding.client_id, binding.id_len}; }

uint32_t client_hash(ClientId client) {
  base::ByteHash hash(static_cast<uint8_t>(client.size()));
  for (const uint8_t byte : client) hash.add(byte);
  return base::address_hash(hash.value());
}

void fill(Dhcp6Binding& binding, ClientId client, uint32_t pool_id, const Ip6& ip) {
  std::copy(client.begin(), client.end(), binding.client_id);
  binding.id_len = static_cast<uint8_t>(client.size());
  binding.pool_id = pool_id;
  ip.copy_to(binding.ip6);
  binding.time = base::now32();
  binding.state = DHCP6S_OFFERED;
}

/// The caller holds the bindings' word.
SpareNode take_off(Dhcp6Binding& binding) {
  auto& node = static_cast<BindingNode&>(binding);
  if (Dhcp6Pool* pool = dhcp6_get_pool_by_id(node.pool_id)) --pool->binding_count;
  indexes.by_ip.remove(node);
  indexes.by_client.remove(node);
  base::unlink_record(dhcp6s_cfg.bindings, &node);
  address_released(Ip6::from(node.ip6));
  return SpareNode(&node);
}

}  // namespace

Dhcp6Binding* find_binding(ClientId client, const Dhcp6Pool& pool, const Ip6* ip) {
  const ClientId wanted = cut(client);
  return indexes.by_client.find(client_hash(wanted), [&](const BindingNode& node) {
    return node.pool_id == pool.pool_id && std::ranges::equal(client_of(node), wanted) &&
           (ip == nullptr || Ip6::from(node.ip6) == *ip);
  });
}

void delete_binding(Dhcp6Binding& binding) { take_off(binding); }

SpareNode take_back(ClientId client, const Dhcp6Pool& pool) {
  const base::BusyGuard busy(dhcp6s_cfg.bindings.busy);
  Dhcp6Binding* binding = find_binding(client, pool, nullptr);
  return binding != nullptr ? take_off(*binding) : nullptr;
}

Ip6 address_of(const BindingNode& node) { return Ip6::from(node.ip6); }

Dhcp6Binding* add_binding(ClientId client, Dhcp6Pool& pool, const Ip6& ip, SpareNode spare) {
  if (dhcp6s_cfg.bindings.count >= DHCP6S_MAX_BINDINGS) return nullptr;
  BindingNode* node = spare != nullptr ? spare.release() : new (std::nothrow) BindingNode;
  if (node == nullptr) {
    fprintf(stderr, "malloc failed for dhcp6 binding!\n");
    return nullptr;
  }
  *node = {};
  fill(*node, cut(client), pool.pool_id, ip);
  const base::BusyGuard busy(dhcp6s_cfg.bindings.busy);
  base::link_record(dhcp6s_cfg.bindings, node);
  ++pool.binding_count;
  indexes.by_ip.insert(*node, ip.hash());
  indexes.by_client.insert(*node, client_hash(client_of(*node)));
  return node;
}

bool bound(const Ip6& ip) {
  const base::BusyGuard busy(dhcp6s_cfg.bindings.busy);
  return indexes.by_ip.find(ip.hash(), [&](const BindingNode& node) { return Ip6::from(node.ip6) == ip; }) != nullptr;
}

bool ended(const Dhcp6Binding& binding, uint32_t now) {
  const auto age = static_cast<int32_t>(now - binding.time);
  if (age < 0) return false;
  if (binding.state == DHCP6S_OFFERED) return static_cast<uint32_t>(age) >= offer_hold_s;
  return binding.valid != infinite_lifetime && static_cast<uint32_t>(age) > binding.valid;
}

}  // namespace dhcp::server6

using namespace dhcp::server6;

Dhcp6Binding* dhcp6_get_binding(const uint8_t* client_id, int len, Dhcp6Pool* pool, const uint8_t* ip6) {
  if (len < 0) return nullptr;
  const Ip6 ip = ip6 != nullptr ? Ip6::from(ip6) : Ip6{};
  return find_binding({client_id, static_cast<size_t>(len)}, *pool, ip6 != nullptr ? &ip : nullptr);
}

Dhcp6Binding* dhcp6_add_binding(const uint8_t* client_id, int len, Dhcp6Pool* pool, const uint8_t ip6[16]) {
  if (len < 0) return nullptr;
  return add_binding({client_id, static_cast<size_t>(len)}, *pool, Ip6::from(ip6));
}
