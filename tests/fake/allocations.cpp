/// The module's allocations: counted, watched until they are freed, and made to fail when a test says so.
///
/// The module allocates by the `new` that answers with null and, where the device frees, by malloc() and calloc(). The
/// tests themselves use neither: their containers take the `new` that throws. A program that has the C library linked
/// into it cannot tell the library's own malloc() from the module's, and watches `new` alone.
#include <atomic>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <new>
#include <set>

#include "tests/fake/device.h"

#ifdef FAKE_WATCHES_MALLOC
// The linker turns what is linked into the program here; the C library's own calls stay as they are.
extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void __real_free(void* block);
void* __wrap_malloc(size_t size);
void* __wrap_calloc(size_t count, size_t size);
void __wrap_free(void* block);
}
#else
static void* __real_malloc(size_t size) { return malloc(size); }
static void __real_free(void* block) { free(block); }
#endif

namespace {

std::atomic<int> to_succeed{0}, to_fail{0};
std::atomic<uint32_t> asked{0}, refused{0};

bool refuses() {
  ++asked;
  if (to_fail.load() == 0) return false;
  if (to_succeed.load() > 0) return to_succeed.fetch_sub(1), false;
  ++refused;
  return to_fail.fetch_sub(1), true;
}

/// For the set of live blocks, which must not count itself.
template <class T>
struct Uncounted {
  using value_type = T;
  Uncounted() = default;
  template <class U>
  explicit Uncounted(const Uncounted<U>& /*other*/) {}
  T* allocate(size_t count) { return static_cast<T*>(__real_malloc(count * sizeof(T))); }
  void deallocate(T* block, size_t /*count*/) { __real_free(block); }
  bool operator==(const Uncounted& /*other*/) const { return true; }
};

struct LiveBlocks {
  std::mutex lock;
  std::set<void*, std::less<>, Uncounted<void*>> blocks;
};

/// Never destroyed: blocks are freed until the very end of the program.
LiveBlocks& live() {
  alignas(LiveBlocks) static char room[sizeof(LiveBlocks)];
  static auto* const all = new (room) LiveBlocks;
  return *all;
}

void* watched(void* block) {
  if (block == nullptr) return nullptr;
  const std::lock_guard guard(live().lock);
  live().blocks.insert(block);
  return block;
}

void* take(size_t size) { return refuses() ? nullptr : watched(__real_malloc(size)); }

void give_back(void* block) {
  if (block == nullptr) return;
  {
    const std::lock_guard guard(live().lock);
    live().blocks.erase(block);
  }
  __real_free(block);
}

}  // namespace

void fake::fail_allocations(int count, int after) {
  to_succeed = after;
  to_fail = count;
}

fake::Allocations fake::allocations() {
  const std::lock_guard guard(live().lock);
  return {asked.load(), refused.load(), live().blocks.size()};
}

#ifdef FAKE_WATCHES_MALLOC
void* __wrap_malloc(size_t size) { return take(size); }
void* __wrap_calloc(size_t count, size_t size) { return refuses() ? nullptr : watched(__real_calloc(count, size)); }
void __wrap_free(void* block) { give_back(block); }
#endif

void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return take(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return take(size); }
void* operator new(std::size_t size) {
  if (void* block = __real_malloc(size != 0 ? size : 1)) return block;
  abort();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* block) noexcept { give_back(block); }
void operator delete[](void* block) noexcept { give_back(block); }
void operator delete(void* block, std::size_t) noexcept { give_back(block); }
void operator delete[](void* block, std::size_t) noexcept { give_back(block); }
