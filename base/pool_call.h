/// The frame of every configuration call on a pool: the server's lock, then the look-up; the lock is given back at the
/// end of the scope.
#pragma once

#include <cstdint>
#include <type_traits>

namespace dhcp::base {

/// `Lock` is held as long as the call lives; `find` gives the pool with an id, which may be none.
template <class Lock, auto find>
class PoolCall {
 public:
  using Pool = std::remove_pointer_t<decltype(find(uint32_t{}))>;

  explicit PoolCall(uint32_t pool_id) : pool_(find(pool_id)) {}
  explicit operator bool() const { return pool_ != nullptr; }
  Pool* operator->() const { return pool_; }
  Pool& operator*() const { return *pool_; }

 private:
  Lock lock_;
  Pool* pool_;
};

}  // namespace dhcp::base
