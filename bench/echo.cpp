#include "bench/echo.h"

#include <algorithm>
#include <array>
#include <vector>

#include "bench/client_frames.h"
#include "bench/clock.h"
#include "packet/bytes.h"

namespace dhcp::bench {

namespace {

constexpr int64_t patience_ns = 100'000'000;
constexpr size_t stamp_at = frame_dhcp + packet::dhcp4::sname.offset;  // eight bytes of the sender's clock

using Frame = std::array<uint8_t, client_frame_size>;

void stamp(Frame& frame, int64_t now) {
  packet::store_be32(&frame[stamp_at], static_cast<uint32_t>(now >> 32));
  packet::store_be32(&frame[stamp_at + 4], static_cast<uint32_t>(now));
}

int64_t stamp_of(std::span<const uint8_t> frame) {
  return static_cast<int64_t>(packet::load_be32(&frame[stamp_at])) << 32 | packet::load_be32(&frame[stamp_at + 4]);
}

}  // namespace

void reflect(PacketPort& port, double seconds, const volatile std::sig_atomic_t& stop) {
  const int64_t end = now_ns() + static_cast<int64_t>(seconds * static_cast<double>(second_ns));
  std::vector<Frame> copies(PacketPort::batch);
  while (stop == 0 && now_ns() < end) {
    port.wait(patience_ns);
    size_t used = 0;
    for (auto frame = port.front(); !frame.empty() && used < copies.size(); frame = port.front()) {
      const size_t size = std::min(frame.size(), client_frame_size);
      std::copy_n(frame.begin(), size, copies[used].begin());
      port.release();
      port.send(std::span(copies[used++]).first(size));
    }
    port.flush();
  }
}

EchoResult echo(PacketPort& port, uint32_t window, double seconds) {
  EchoResult result;
  window = std::clamp<uint32_t>(window, 1, PacketPort::batch);
  std::vector<Frame> frames(window);
  for (uint32_t number = 0; number < window; ++number) {
    Frame& frame = frames[number];
    ClientFrames client(client_mac(number));
    std::ranges::copy(client.discover(number), frame.begin());
    packet::store_be16(&frame[frame_udp + packet::udp::checksum.offset], 0);  // none: the stamp changes
  }
  const int64_t start = now_ns(), end = start + static_cast<int64_t>(seconds * static_cast<double>(second_ns));
  int64_t now = start, last = start;
  uint64_t under_way = 0;
  while (now < end) {
    for (size_t used = 0; under_way < window; ++under_way, ++result.sent) {
      stamp(frames[used], now);
      port.send(frames[used++]);
    }
    port.flush();
    if (port.front().empty()) port.wait(patience_ns);
    now = now_ns();
    for (auto frame = port.front(); !frame.empty(); frame = port.front()) {
      if (frame.size() == client_frame_size && under_way > 0) {
        result.latency.add(now - stamp_of(frame));
        ++result.returned;
        --under_way;
        last = now;
      }
      port.release();
    }
    if (now - last > patience_ns) under_way = 0;  // lost on the way: begin anew
  }
  result.seconds = static_cast<double>(now - start) / static_cast<double>(second_ns);
  return result;
}

}  // namespace dhcp::bench
