/// What the program says. The module's own words go nowhere, so the report has a stream of its own.
#pragma once

#include <cstdio>

namespace soak {

/// Where the report goes: the standard output as it was at the start.
extern std::FILE* report;

/// Says what does not hold and ends the program with status 1.
[[noreturn]] [[gnu::format(printf, 1, 2)]] void violated(const char* format, ...);

}  // namespace soak
