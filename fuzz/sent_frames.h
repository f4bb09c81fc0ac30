/// What the server sends while a frame is handled, judged as it leaves.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "fuzz/door.h"

namespace dhcp::fuzz {

struct Reply {
  uint8_t type = 0;
  uint32_t address = 0;  // yiaddr
};

/// Judges the frames of one message: at most one is sent, and it is either the received frame given back to the switch
/// or a well-formed reply to it. Aborts otherwise.
class SentFrames {
 public:
  explicit SentFrames(std::span<const uint8_t> received) : received_(received.begin(), received.end()) {}

  const std::optional<Reply>& reply() const { return reply_; }
  bool given_back() const { return given_back_; }
  void judge(const SentFrame& sent);

 private:
  std::vector<uint8_t> received_;
  std::optional<Reply> reply_;
  bool given_back_ = false;
};

}  // namespace dhcp::fuzz
