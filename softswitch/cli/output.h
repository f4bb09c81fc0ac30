/// Text from values.
#pragma once

#include <string>

namespace dhcp::softswitch::cli {

std::string format(const char* text, ...) __attribute__((format(printf, 1, 2)));

}  // namespace dhcp::softswitch::cli
