/// The process's heap blocks, counted where this program and the module take and free them.
#pragma once

#include <cstdint>

namespace dhcp::bench {

struct HeapBlocks {
  int64_t live = 0;    // taken and not yet freed
  uint64_t taken = 0;  // ever
};

extern HeapBlocks heap_blocks;

/// Opens of an interface query's socket answer at once while this is set.
extern bool sockets_are_free;

}  // namespace dhcp::bench
