/// From the configuration in force to another one by as few lines as it takes: what both have is not touched.
#pragma once

#include <string>

#include "softswitch/cli/session.h"

namespace dhcp::softswitch::cli {

/// Reads the file and types what is missing, having taken back what it does not have. `typed` gets those lines. When
/// one of them is refused, the configuration from before is put back, and the fault says which.
Outcome replace_configuration(const std::string& path, std::string& typed);

}  // namespace dhcp::softswitch::cli
