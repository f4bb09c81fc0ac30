/// The command line's own settings, one set a process. Handlers run one at a time, but prompts are read by any
/// operator's thread, so the values have a lock of their own.
#pragma once

#include <string>

namespace dhcp::softswitch::cli {

std::string hostname();
void set_hostname(const std::string& name);  // "" = back to the default

/// The file that `write memory` writes; "" = none.
std::string startup_path();
void set_startup_path(const std::string& path);

}  // namespace dhcp::softswitch::cli
