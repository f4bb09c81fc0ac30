/// The running configuration as command lines, and the file it is kept in.
#pragma once

#include <optional>
#include <string>

namespace dhcp::softswitch::cli {

/// Lines that, typed in configuration mode on a fresh switch, give this configuration again. Ends with "end".
std::string running_config();

/// Replaces the file in one step: a reader, or a crash, sees the old content or the new. Nothing = done.
std::optional<std::string> replace_file(const std::string& path, const std::string& content);

/// The whole file with plain line feeds; nothing when it cannot be read.
std::optional<std::string> read_file(const std::string& path);

}  // namespace dhcp::softswitch::cli
