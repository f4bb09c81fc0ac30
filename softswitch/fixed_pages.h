/// An array of a fixed length whose pages become memory when something is first written there.
///
/// Elements begin as zero bytes, and reset() makes them so again. For tables that are made as large as they may ever
/// get, and hardly ever get so large.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <new>
#include <type_traits>

namespace dhcp::softswitch {

template <class T>
class FixedPages {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

 public:
  explicit FixedPages(size_t count) : bytes_(count * sizeof(T)) {
    void* const at = mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (at == MAP_FAILED) throw std::bad_alloc();
    at_ = static_cast<T*>(at);
  }
  ~FixedPages() { munmap(at_, bytes_); }
  FixedPages(const FixedPages&) = delete;
  FixedPages& operator=(const FixedPages&) = delete;

  void reset() { madvise(at_, bytes_, MADV_DONTNEED); }
  T& operator[](size_t i) { return at_[i]; }
  const T& operator[](size_t i) const { return at_[i]; }

 private:
  const size_t bytes_;
  T* at_;
};

}  // namespace dhcp::softswitch
