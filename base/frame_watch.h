/// Frames that somebody wants to watch: what becomes of the one in hand, and what is sent for it.
///
/// While nobody watches, all of this is one relaxed load. The fates are those that the services count, noted as they
/// are counted; nothing here decides anything.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>

namespace dhcp::base {

/// Takes one line, on the thread that handles the frame; null = nobody watches.
using FrameSink = void (*)(const char* line);
inline std::atomic<FrameSink> frame_sink{nullptr};
inline bool frames_watched() { return frame_sink.load(std::memory_order_relaxed) != nullptr; }

/// The frame that the calling thread has in hand, from its making to its end.
class WatchedFrame {
 public:
  struct Fate {
    uint8_t service, reason;
  };

  explicit WatchedFrame(FrameSink sink);
  ~WatchedFrame();
  WatchedFrame(const WatchedFrame&) = delete;
  WatchedFrame& operator=(const WatchedFrame&) = delete;

  void note(Fate fate);
  std::span<const Fate> fates() const { return {fates_, count_}; }
  /// Keeps a line about a frame that was sent meanwhile; one for which there is no room is told at once.
  void hold(const char* line);
  /// Tells the line about this frame, then those that were kept.
  void tell(const char* line);

 private:
  FrameSink sink_;
  Fate fates_[8];
  size_t count_ = 0;
  char held_[4096];  // texts, one behind the other with their ends
  size_t used_ = 0;
};

/// What became of the calling thread's frame, if it has one in hand.
void note_fate(uint8_t service, uint8_t reason);
/// A frame that was sent: told behind the one that it was sent for, or at once.
void tell_sent(const char* line);

}  // namespace dhcp::base
