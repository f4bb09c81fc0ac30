#include "bench/heap_blocks.h"

#include <cstddef>
#include <new>

namespace dhcp::bench {

HeapBlocks heap_blocks;
bool sockets_are_free = false;

}  // namespace dhcp::bench

using dhcp::bench::heap_blocks;

namespace {

constexpr int free_socket = 1 << 20;  // beyond any descriptor of ours

void* counted(void* block) {
  if (block != nullptr) {
    ++heap_blocks.live;
    ++heap_blocks.taken;
  }
  return block;
}

}  // namespace

// The linker turns the module's calls to these.
extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void __real_free(void* block);
int __real_socket(int domain, int type, int protocol);
int __real_close(int descriptor);

void* __wrap_malloc(size_t size);
void* __wrap_calloc(size_t count, size_t size);
void __wrap_free(void* block);
int __wrap_socket(int domain, int type, int protocol);
int __wrap_close(int descriptor);

void* __wrap_malloc(size_t size) { return counted(__real_malloc(size)); }
void* __wrap_calloc(size_t count, size_t size) { return counted(__real_calloc(count, size)); }
void __wrap_free(void* block) {
  if (block != nullptr) --heap_blocks.live;
  __real_free(block);
}
int __wrap_socket(int domain, int type, int protocol) {
  return dhcp::bench::sockets_are_free ? free_socket : __real_socket(domain, type, protocol);
}
int __wrap_close(int descriptor) { return descriptor == free_socket ? 0 : __real_close(descriptor); }
}

void* operator new(size_t size) {
  if (void* block = __wrap_malloc(size != 0 ? size : 1)) return block;
  throw std::bad_alloc();
}
void* operator new(size_t size, const std::nothrow_t&) noexcept { return __wrap_malloc(size); }
void* operator new[](size_t size) { return operator new(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return __wrap_malloc(size); }
void operator delete(void* block) noexcept { __wrap_free(block); }
void operator delete[](void* block) noexcept { __wrap_free(block); }
void operator delete(void* block, size_t) noexcept { __wrap_free(block); }
void operator delete[](void* block, size_t) noexcept { __wrap_free(block); }
