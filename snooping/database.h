/// The binding file and when it is written.
#pragma once

#include <cstdio>

namespace dhcp::snooping {

/// Forgets what became of the file, and when it was last saved; its place stays.
void restart_database();

/// Takes in every line of the stream as a bound entry, as read_dhcp_snoop_from_flash() does.
void load_bindings(FILE* stream);

}  // namespace dhcp::snooping
