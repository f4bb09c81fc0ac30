#include "softswitch/capture.h"

#include <fcntl.h>
#include <pthread.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "softswitch/frame_map.h"
#include "softswitch/log.h"

namespace dhcp::softswitch {
namespace {

constexpr auto longest_rest = std::chrono::milliseconds(100);  // of the writer: how old a frame gets in memory
constexpr size_t first_bytes = 256;                            // among them a UDP header is looked for

uint64_t now_ns() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000000000u + static_cast<uint64_t>(now.tv_nsec);
}

bool is_dhcp(const pcapng::Pieces& frame) {
  uint8_t head[first_bytes];
  size_t size = 0;
  for (const auto& piece : frame) {
    const size_t part = std::min(piece.size(), sizeof head - size);
    if (part != 0) std::memcpy(head + size, piece.data(), part);
    size += part;
  }
  const uint16_t to = map_frame({head, size}).udp_to;
  return to == 67 || to == 68 || to == 546 || to == 547;
}

}  // namespace

std::unique_ptr<Capture> Capture::begin(const CaptureRequest& request, const std::vector<Interface>& ports,
                                        Refusal& why) {
  if (request.path.empty() || request.path[0] != '/') {
    why = "give the file's whole path, from /";
    return nullptr;
  }
  constexpr int only_new = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  const int fd = open(request.path.c_str(), only_new, S_IRUSR | S_IWUSR);
  if (fd < 0) {
    why = request.path + ": " + std::strerror(errno);
    return nullptr;
  }
  std::unique_ptr<Capture> capture(new Capture(fd, request, ports.size()));
  capture->begin_file(ports);
  return capture;
}

Capture::Capture(int fd, const CaptureRequest& request, size_t ports)
    : fd_(fd), request_(request), begin_ns_(now_ns()), counts_(request.port == 0 ? ports : 1) {
  filling_.reserve(buffer_room);
}

void Capture::begin_file(const std::vector<Interface>& ports) {
  pcapng::add_section(filling_, "softswitch");
  for (size_t port = 1; port <= ports.size(); ++port)
    if (request_.port == 0 || request_.port == port)
      pcapng::add_interface(filling_, ports[port - 1].name, ports[port - 1].description);
  size_ = filling_.size();
  writer_ = std::thread([this] { run(); });
  pthread_setname_np(writer_.native_handle(), "sw_capture");
}

Capture::~Capture() {
  end();
  close(fd_);
}

bool Capture::wanted(uint32_t port, const pcapng::Pieces& frame) const {
  return (request_.port == 0 || request_.port == port) && (!request_.dhcp || is_dhcp(frame));
}

void Capture::take(uint32_t port, pcapng::Direction direction, const pcapng::Pieces& frame) {
  if (!wanted(port, frame)) return;
  const size_t size = pcapng::frame_block_size(frame);
  const uint64_t time = now_ns();
  const std::lock_guard guard(lock_);
  if (state_ != CaptureState::running) return;
  const uint32_t interface = interface_of(port);
  if (size_ + size + counts_.size() * pcapng::statistics_block_size > request_.limit) {
    state_ = CaptureState::full;
    news_.notify_one();
  } else if (filling_.size() + size > buffer_room) {
    ++counts_[interface].lost;
  } else {
    const size_t before = filling_.size();
    pcapng::add_frame(filling_, interface, time, direction, frame);
    size_ += filling_.size() - before;
    ++counts_[interface].kept;
    if (before < buffer_room / 2 && filling_.size() >= buffer_room / 2) news_.notify_one();
  }
}

void Capture::run() {
  pcapng::Bytes writing;
  writing.reserve(buffer_room);
  for (bool over = false; !over;) {
    {
      std::unique_lock guard(lock_);
      news_.wait_for(guard, longest_rest, [this] {
        return ending_ || state_ != CaptureState::running || filling_.size() >= buffer_room / 2;
      });
      over = ending_ || state_ != CaptureState::running;
      filling_.swap(writing);
    }
    over = !write_out(writing) || over;
    writing.clear();
  }
  finish();
}

/// How much each port has lost stands at the end, also of a capture that ended by itself.
void Capture::finish() {
  pcapng::Bytes last;
  CaptureState state;
  {
    const std::lock_guard guard(lock_);
    if (state_ == CaptureState::running) state_ = CaptureState::ended;
    state = state_;
    last.swap(filling_);
    for (size_t at = 0; at < counts_.size(); ++at)
      pcapng::add_statistics(last, static_cast<uint32_t>(at), begin_ns_, now_ns(), counts_[at]);
    size_ += counts_.size() * pcapng::statistics_block_size;
  }
  if (state != CaptureState::failed) write_out(last);
  if (state == CaptureState::full) log_line(4, "capture %s has reached its limit and is over", request_.path.c_str());
}

bool Capture::write_out(const pcapng::Bytes& bytes) {
  for (size_t done = 0; done < bytes.size();) {
    const ssize_t written = write(fd_, &bytes[done], bytes.size() - done);
    if (written > 0) done += static_cast<size_t>(written);
    if (written > 0 || (written < 0 && errno == EINTR)) continue;
    const char* const why = std::strerror(errno);
    log_line(3, "capture %s is over: %s", request_.path.c_str(), why);
    const std::lock_guard guard(lock_);
    state_ = CaptureState::failed;
    failure_ = why;
    return false;
  }
  return true;
}

void Capture::end() {
  {
    const std::lock_guard guard(lock_);
    ending_ = true;
  }
  news_.notify_one();
  if (writer_.joinable()) writer_.join();
}

CaptureStatus Capture::status() const {
  const std::lock_guard guard(lock_);
  CaptureStatus status{request_, state_, failure_, size_, 0, 0};
  for (const pcapng::Counts& counts : counts_) {
    status.frames += counts.kept;
    status.lost += counts.lost;
  }
  return status;
}

}  // namespace dhcp::softswitch
