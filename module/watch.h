/// Frames that are watched on their way through the dispatcher.
#pragma once

#include "base/frame_watch.h"
#include "packet/frame_line.h"
#include "platform/adp.h"

namespace dhcp::module {

/// From when a frame has come to when all services have had it: then its line is told, as the frame was when it came.
class Watch {
 public:
  Watch(base::FrameSink sink, const skpack& skp);
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

 private:
  packet::FrameLine line_;
  base::WatchedFrame frame_;
};

}  // namespace dhcp::module
