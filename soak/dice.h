/// Chance that can be had again: everything random comes from one seed.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace soak {

class Dice {
 public:
  explicit Dice(uint64_t seed) : engine_(seed) {}
  uint32_t below(uint32_t sides) { return static_cast<uint32_t>(engine_() % sides); }
  bool one_in(uint32_t sides) { return below(sides) == 0; }
  uint8_t byte() { return static_cast<uint8_t>(engine_()); }
  uint32_t word() { return static_cast<uint32_t>(engine_()); }
  std::vector<uint8_t> bytes(uint32_t size) {
    std::vector<uint8_t> all(size);
    for (uint8_t& one : all) one = byte();
    return all;
  }

 private:
  std::mt19937_64 engine_;
};

}  // namespace soak
