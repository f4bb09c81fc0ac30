/// What keeps the process small, beside tables that grow as they are used.
#pragma once

namespace dhcp::softswitch {

/// One heap for all threads, of which few ever allocate; before the first thread starts.
void share_one_heap();

/// Gives back what only the start needed: free heap, and pages of code and constants, of the libraries, too. Those that
/// are needed again come back by themselves, from memory as long as the machine has not run short of it.
void give_back_start();

}  // namespace dhcp::softswitch
