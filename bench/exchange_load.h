/// Many DHCP clients on one interface: DISCOVER, OFFER, REQUEST, ACK, and again; in DHCPv6 SOLICIT, ADVERTISE, REQUEST,
/// REPLY.
///
/// Either a fixed number of exchanges is kept in flight (how fast can it go?), or exchanges begin at a steady rate
/// whether or not earlier ones have ended (how long does one take?). An answer that does not come in time is a drop:
/// nothing is repeated, the exchange has failed.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "bench/client_frames.h"
#include "bench/client_frames6.h"
#include "bench/latency.h"
#include "bench/packet_port.h"

namespace dhcp::bench {

struct LoadPlan {
  uint32_t clients = 400;
  uint32_t window = 32;        // exchanges in flight
  double rate = 0;             // exchanges begun per second; 0 = as the window allows
  double seconds = 5;          // exchanges begin for so long
  uint64_t exchanges = 0;      // and no more than so many; 0 = no such limit
  uint32_t timeout_ms = 1000;  // for one answer
  bool release = false;        // a RELEASE ends each exchange
};

struct LoadResult {
  uint64_t begun = 0, completed = 0;
  uint64_t no_offer = 0, no_ack = 0;  // drops
  uint64_t naks = 0, wrong = 0;       // refusals; answers that contradict what was asked
  double seconds = 0;
  uint32_t addresses = 0, clients_served = 0;  // distinct addresses held, by how many clients
  Latencies latency;                           // DISCOVER sent to ACK received

  uint64_t drops() const { return no_offer + no_ack; }
};

/// What the load has to know of a protocol.
struct Dhcp4 {
  using Frames = ClientFrames;
  using Reply = Answer;
  static constexpr uint16_t ethertype = packet::eth::type_ipv4;
  static constexpr uint8_t offer = 2, ack = 5, refusal = 6;
  static constexpr auto read = read_answer;
  static void answer_question(PacketPort& /*port*/, std::span<const uint8_t> /*frame*/) {}  // ARP is not heard
};
struct Dhcp6 {
  using Frames = ClientFrames6;
  using Reply = Answer6;
  static constexpr uint16_t ethertype = packet::eth::type_ipv6;
  static constexpr uint8_t offer = advertise, ack = reply6, refusal = 0;
  static constexpr auto read = read_answer6;
  /// A server on a kernel's interface asks for the MAC of a client before it answers.
  static void answer_question(PacketPort& port, std::span<const uint8_t> frame);
};

/// Defined for Dhcp4 and Dhcp6.
template <class Protocol>
class ExchangeLoad {
 public:
  ExchangeLoad(PacketPort& port, const LoadPlan& plan);
  LoadResult run();

 private:
  static constexpr unsigned index_bits = 12;
  using Reply = typename Protocol::Reply;
  using Address = decltype(Reply::address);

  enum class Phase : uint8_t { idle, discovering, requesting };
  struct Client {
    typename Protocol::Frames frames;
    Phase phase = Phase::idle;
    uint32_t round = 0, index = 0;
    int64_t begun = 0, sent = 0;
    Reply offer{};
    Address held{};  // of the last ACK; zero = none
    /// 24 bits, as many as either protocol has.
    uint32_t xid() const { return (round << index_bits | index) & 0xffffff; }
  };

  void begin_due(int64_t now);
  void begin(Client& client, int64_t now);
  void take(const Reply& answer, int64_t now);
  void take_offer(Client& client, const Reply& answer, int64_t now);
  void take_ack(Client& client, const Reply& answer, int64_t now);
  void end(Client& client);
  void expire(int64_t now);
  int64_t time_to_next(int64_t now) const;
  void count_addresses();

  PacketPort& port_;
  LoadPlan plan_;
  LoadResult result_;
  std::vector<Client> clients_;
  std::deque<uint32_t> idle_;  // indices, the longest idle first
  uint32_t in_flight_ = 0;
  int64_t start_ = 0, next_expiry_ = 0;
};

}  // namespace dhcp::bench
