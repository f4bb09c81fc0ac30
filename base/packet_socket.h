/// The raw packet socket that services hold open on the CPU's interface. Frames leave through the chip and arrive by
/// the event queue, so nobody reads or writes it.
#pragma once

namespace dhcp::base {

/// A descriptor, or -1 with errno set. The kernel stores next to nothing for it.
int open_idle_packet_socket();

}  // namespace dhcp::base
