#include "base/frame_watch.h"

#include <cstring>
#include <iterator>

namespace dhcp::base {

namespace {

thread_local WatchedFrame* in_hand = nullptr;

}  // namespace

WatchedFrame::WatchedFrame(FrameSink sink) : sink_(sink) { in_hand = this; }
WatchedFrame::~WatchedFrame() { in_hand = nullptr; }

void WatchedFrame::note(Fate fate) {
  if (count_ < std::size(fates_)) fates_[count_++] = fate;
}

void WatchedFrame::hold(const char* line) {
  const size_t size = strlen(line) + 1;
  if (sizeof held_ - used_ < size) return sink_(line);
  memcpy(held_ + used_, line, size);
  used_ += size;
}

void WatchedFrame::tell(const char* line) {
  sink_(line);
  for (size_t at = 0; at < used_; at += strlen(held_ + at) + 1) sink_(held_ + at);
  used_ = 0;
}

void note_fate(uint8_t service, uint8_t reason) {
  if (in_hand != nullptr) in_hand->note({service, reason});
}

void tell_sent(const char* line) {
  if (in_hand != nullptr) return in_hand->hold(line);
  const FrameSink sink = frame_sink.load();
  if (sink != nullptr) sink(line);
}

}  // namespace dhcp::base
