/// Replaces the allocation that answers with null instead of throwing, so that a test can let it fail.
#include <atomic>
#include <cstdlib>
#include <new>

#include "tests/fake/device.h"

namespace {

std::atomic<int> to_succeed{0}, to_fail{0};

bool refused() {
  if (to_fail.load() == 0) return false;
  if (to_succeed.load() > 0) return to_succeed.fetch_sub(1), false;
  return to_fail.fetch_sub(1), true;
}

}  // namespace

void fake::fail_allocations(int count, int after) {
  to_succeed = after;
  to_fail = count;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return refused() ? nullptr : malloc(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return refused() ? nullptr : malloc(size); }
void* operator new(std::size_t size) {
  if (void* block = malloc(size != 0 ? size : 1)) return block;
  abort();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* block) noexcept { free(block); }
void operator delete[](void* block) noexcept { free(block); }
void operator delete(void* block, std::size_t) noexcept { free(block); }
void operator delete[](void* block, std::size_t) noexcept { free(block); }
