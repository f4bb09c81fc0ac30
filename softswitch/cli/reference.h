/// The reference of all commands, made from the command table.
#pragma once

#include <string>

namespace dhcp::softswitch::cli {

/// Markdown. Its fenced lines, typed in order on a fresh switch with a file to save to, are all accepted.
std::string command_reference();

}  // namespace dhcp::softswitch::cli
