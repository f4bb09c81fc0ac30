/// A fuzz target: one function that takes any bytes and aborts when a property is broken.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/// Ends the run, with the property as the message.
#define HOLDS(property)                                                             \
  do {                                                                              \
    if (!(property)) {                                                              \
      fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #property); \
      abort();                                                                      \
    }                                                                               \
  } while (0)

namespace dhcp::fuzz {

/// Reads an input from its front; past the end everything is zero.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : rest_(data, size) {}
  bool empty() const { return rest_.empty(); }
  uint8_t byte() {
    if (rest_.empty()) return 0;
    const uint8_t value = rest_[0];
    rest_ = rest_.subspan(1);
    return value;
  }
  uint16_t word() {
    const uint8_t high = byte();
    return static_cast<uint16_t>(high << 8 | byte());
  }
  /// At most `wanted` bytes: fewer at the end of the input.
  std::span<const uint8_t> bytes(size_t wanted) {
    const auto taken = rest_.first(wanted < rest_.size() ? wanted : rest_.size());
    rest_ = rest_.subspan(taken.size());
    return taken;
  }

 private:
  std::span<const uint8_t> rest_;
};

}  // namespace dhcp::fuzz
