/// A capture of what passes the ports: frames go into a bounded buffer under the fabric's lock, and a thread of its own
/// writes them to a file, so that forwarding never waits for a disk. Frames for which the buffer has no room are
/// counted and missing in the file; when the next frame would make the file longer than its limit, the capture is over.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "softswitch/control.h"
#include "softswitch/pcapng.h"

namespace dhcp::softswitch {

class Capture {
 public:
  struct Interface {
    std::string name, description;
  };
  static constexpr size_t buffer_room = size_t{4} << 20;

  /// Makes the file, which must not be there yet: nothing is overwritten, no link is followed. `ports` = all ports,
  /// from 1; the file names those that are captured. Null and `why` on failure.
  static std::unique_ptr<Capture> begin(const CaptureRequest& request, const std::vector<Interface>& ports,
                                        Refusal& why);
  ~Capture();  // end()
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  /// Takes a frame if it is asked for. Allocates nothing; takes the capture's own lock, which is never held while
  /// something is written.
  void take(uint32_t port, pcapng::Direction direction, const pcapng::Pieces& frame);

  /// Writes what is left, and how much each port has lost. The capture takes no frame afterwards.
  void end();

  CaptureStatus status() const;

 private:
  Capture(int fd, const CaptureRequest& request, size_t ports);
  void begin_file(const std::vector<Interface>& ports);
  void run();
  bool write_out(const pcapng::Bytes& bytes);
  void finish();
  bool wanted(uint32_t port, const pcapng::Pieces& frame) const;
  uint32_t interface_of(uint32_t port) const { return request_.port == 0 ? port - 1 : 0; }

  const int fd_;
  const CaptureRequest request_;
  const uint64_t begin_ns_;
  mutable std::mutex lock_;
  std::condition_variable news_;
  pcapng::Bytes filling_;  // what the writer takes next
  uint64_t size_ = 0;      // of the file, once everything up to here is written
  std::vector<pcapng::Counts> counts_;
  CaptureState state_ = CaptureState::running;
  std::string failure_;
  bool ending_ = false;
  std::thread writer_;
};

}  // namespace dhcp::softswitch
