/// The chip rules that bring DHCP to the CPU.
///
/// One rule group a family, with the same two rules (trap/cpu_rules.h), installed while any of the family's services is
/// on. The room owns the knowledge whether the rules are there; callers hold no lock, so the state is one atomic word
/// and both directions are idempotent.
#pragma once

#include <cstdint>

#include "dhcp/trap.h"

namespace dhcp::trap {

/// True while the DHCPv4 rules are installed.
bool dhcp4_installed();

/// After ports have come or gone: installs the rules anew when they are there. 0, or -1 when the chip refuses.
int ports_changed();

}  // namespace dhcp::trap
