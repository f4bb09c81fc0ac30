/// What keeps the process small, beside tables that grow as they are used.
#pragma once

namespace dhcp::softswitch {

/// One heap for all threads, of which few ever allocate; before the first thread starts.
void share_one_heap();

/// Gives back what nobody uses any more after the start, or when the last operator has left: free heap, and pages of
/// code and constants, of the libraries, too. Those that are in use come back by themselves, from memory as long as
/// the machine has not run short of it.
void give_back_unused();

}  // namespace dhcp::softswitch
