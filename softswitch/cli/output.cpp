#include "softswitch/cli/output.h"

#include <cstdarg>
#include <cstdio>

namespace dhcp::softswitch::cli {

std::string format(const char* text, ...) {
  va_list args, again;
  va_start(args, text);
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, text, args);
  std::string out(length > 0 ? static_cast<size_t>(length) : 0, '\0');
  std::vsnprintf(out.data(), out.size() + 1, text, again);
  va_end(again);
  va_end(args);
  return out;
}

}  // namespace dhcp::softswitch::cli
