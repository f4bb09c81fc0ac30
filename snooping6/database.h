/// The binding file.
#pragma once

#include <cstdio>

namespace dhcp::snooping6 {

/// Forgets what became of the file, and when it was last saved; its place stays.
void restart_database();

/// Says that bindings have changed, so that the cyclic write has something to save.
void set_bind_changed();

/// Takes in every line of the stream as a bound entry, as read_dhcp6_snoop_from_flash() does.
void load_bindings(FILE* stream);

}  // namespace dhcp::snooping6
