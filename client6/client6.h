/// The DHCPv6 client: addresses for the device's own VLAN interfaces (RFC 8415 section 18.2).
///
/// It owns the record `dhcpc6_golbal_config` and the nodes that hang from it, one a VLAN interface in DHCPv6 mode. The
/// list's busy word guards the list, the nodes and what they keep; the "dhcp6c" task holds it for one pass over all
/// nodes, the dispatch task for one answer, a configuration call for one change. No other lock is taken. Under the word
/// the task sends frames and sets or removes addresses: neither call comes back into the module.
///
/// Functions of this header expect the word to be held.
#pragma once

#include <cstdint>
#include <memory>

#include "base/guard.h"
#include "base/list.h"
#include "dhcp/client6.h"

namespace dhcp::client6 {

inline constexpr uint32_t forever = 0xffffffff;

/// Every interface, newest first; the one in hand may be unlinked.
inline base::Records<Dhcp6cInterfaceNode> nodes() {
  return base::Records<Dhcp6cInterfaceNode>(dhcpc6_golbal_config.nodes);
}

/// A node that is on no list, with all that it keeps.
struct FreeNode {
  void operator()(Dhcp6cInterfaceNode* node) const;
};
using Node = std::unique_ptr<Dhcp6cInterfaceNode, FreeNode>;

/// Takes the node off the list. What is unlinked is freed with the result.
Node unlink(Dhcp6cInterfaceNode& node);

/// Puts a copy into a node's field in place of the one that was there.
void keep(uint8_t*& field, std::unique_ptr<uint8_t[]> copy);

/// Back to INIT, with a new transaction at the next pass.
void begin_anew(Dhcp6cInterfaceNode& node);

/// Lets the interface's machine do its second. False when its lifetime has lapsed, which ends the pass.
bool step(Dhcp6cInterfaceNode& node);
/// One second of all interfaces. Takes the word itself.
void pass();

/// Makes the transaction ids of this start differ from those of the last one.
void seed_transactions();
/// 24 bits.
uint32_t new_transaction();

}  // namespace dhcp::client6
