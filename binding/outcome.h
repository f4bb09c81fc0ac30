/// What the steps of an inspection answer: what becomes of the frame, or nothing, and the next step is asked.
#pragma once

#include <optional>

#include "dhcp/binding.h"

namespace dhcp::binding {

/// What becomes of a frame and what is said about it.
struct Outcome {
  DhcpSnoopVerdict verdict;
  const char* text = nullptr;  // null = in silence
  bool passed = false;         // goes on to relay and server; otherwise it ends here
};

using Step = std::optional<Outcome>;

}  // namespace dhcp::binding
