#include "bench/exchange_load.h"

#include <algorithm>

#include "bench/clock.h"
#include "bench/neighbour6.h"

namespace dhcp::bench {

namespace {

constexpr int64_t expiry_step_ns = 20'000'000;

}  // namespace

void Dhcp6::answer_question(PacketPort& port, std::span<const uint8_t> frame) {
  const auto target = solicited(frame);
  const auto mac = target ? client_at(*target) : std::nullopt;
  if (!mac) return;
  NeighbourFrame advertisement;
  port.send(advertise_neighbour(frame, *mac, advertisement));
  port.flush();
}

template <class Protocol>
ExchangeLoad<Protocol>::ExchangeLoad(PacketPort& port, const LoadPlan& plan) : port_(port), plan_(plan) {
  plan_.clients = std::clamp<uint32_t>(plan_.clients, 1, (1U << index_bits) - 1);
  plan_.window = std::clamp<uint32_t>(plan_.window, 1, plan_.clients);
  clients_.reserve(plan_.clients);
  for (uint32_t index = 0; index < plan_.clients; ++index) {
    clients_.push_back({.frames = typename Protocol::Frames(client_mac(index)), .index = index});
    idle_.push_back(index);
  }
}

template <class Protocol>
LoadResult ExchangeLoad<Protocol>::run() {
  start_ = now_ns();
  next_expiry_ = start_ + expiry_step_ns;
  const auto stop = start_ + static_cast<int64_t>(plan_.seconds * static_cast<double>(second_ns));
  int64_t now = start_;
  for (;;) {
    const bool enough = now >= stop || (plan_.exchanges != 0 && result_.begun >= plan_.exchanges);
    if (enough && in_flight_ == 0) break;
    port_.flush();  // a client that has just released may begin anew with the same buffer
    if (!enough) begin_due(now);
    port_.flush();
    if (port_.front().empty()) port_.wait(time_to_next(now));
    now = now_ns();
    for (auto frame = port_.front(); !frame.empty(); frame = port_.front()) {
      if (const auto answer = Protocol::read(frame)) {
        take(*answer, now);
      } else {
        Protocol::answer_question(port_, frame);
      }
      port_.release();
    }
    if (now >= next_expiry_) expire(now);
  }
  port_.flush();
  result_.seconds = static_cast<double>(now - start_) / static_cast<double>(second_ns);
  count_addresses();
  return std::move(result_);
}

template <class Protocol>
void ExchangeLoad<Protocol>::begin_due(int64_t now) {
  uint64_t due = plan_.window > in_flight_ ? plan_.window - in_flight_ : 0;
  if (plan_.rate > 0) {
    const double elapsed = static_cast<double>(now - start_) / static_cast<double>(second_ns);
    const auto expected = static_cast<uint64_t>(elapsed * plan_.rate) + 1;
    due = expected > result_.begun ? expected - result_.begun : 0;
  }
  if (plan_.exchanges != 0) due = std::min(due, plan_.exchanges - result_.begun);
  for (; due > 0 && !idle_.empty(); --due) {
    Client& client = clients_[idle_.front()];
    idle_.pop_front();
    begin(client, now);
  }
}

template <class Protocol>
void ExchangeLoad<Protocol>::begin(Client& client, int64_t now) {
  ++client.round;
  client.phase = Phase::discovering;
  client.begun = client.sent = now;
  ++in_flight_;
  ++result_.begun;
  port_.send(client.frames.discover(client.xid()));
}

template <class Protocol>
void ExchangeLoad<Protocol>::take(const Reply& answer, int64_t now) {
  const uint32_t index = answer.xid % (1U << index_bits);
  if (index >= clients_.size() || clients_[index].xid() != answer.xid) return;
  Client& client = clients_[index];
  if (client.phase == Phase::discovering && answer.type == Protocol::offer) {
    take_offer(client, answer, now);
  } else if (client.phase == Phase::requesting && answer.type == Protocol::ack) {
    take_ack(client, answer, now);
  } else if (answer.type == Protocol::refusal) {
    ++result_.naks;
    end(client);
  }
}

template <class Protocol>
void ExchangeLoad<Protocol>::take_offer(Client& client, const Reply& answer, int64_t now) {
  client.offer = answer;
  client.phase = Phase::requesting;
  client.sent = now;
  port_.send(client.frames.request(client.xid(), answer));
}

template <class Protocol>
void ExchangeLoad<Protocol>::take_ack(Client& client, const Reply& answer, int64_t now) {
  if (answer.address != client.offer.address || answer.server != client.offer.server) ++result_.wrong;
  ++result_.completed;
  result_.latency.add(now - client.begun);
  client.held = answer.address;
  if (plan_.release) {
    port_.send(client.frames.release(client.xid(), answer));
    client.held = {};
  }
  end(client);
}

template <class Protocol>
void ExchangeLoad<Protocol>::end(Client& client) {
  client.phase = Phase::idle;
  --in_flight_;
  idle_.push_back(client.index);
}

template <class Protocol>
void ExchangeLoad<Protocol>::expire(int64_t now) {
  next_expiry_ = now + expiry_step_ns;
  const int64_t oldest = now - int64_t{plan_.timeout_ms} * 1'000'000;
  for (Client& client : clients_) {
    if (client.phase == Phase::idle || client.sent > oldest) continue;
    ++(client.phase == Phase::discovering ? result_.no_offer : result_.no_ack);
    end(client);
  }
}

template <class Protocol>
int64_t ExchangeLoad<Protocol>::time_to_next(int64_t now) const {
  int64_t wake = next_expiry_;
  if (plan_.rate > 0 && !idle_.empty()) {
    const double due = static_cast<double>(result_.begun) / plan_.rate * static_cast<double>(second_ns);
    wake = std::min(wake, start_ + static_cast<int64_t>(due));
  }
  return wake - now;
}

template <class Protocol>
void ExchangeLoad<Protocol>::count_addresses() {
  std::vector<Address> held;
  for (const Client& client : clients_) {
    if (client.held != Address{}) held.push_back(client.held);
  }
  result_.clients_served = static_cast<uint32_t>(held.size());
  std::sort(held.begin(), held.end());
  held.erase(std::unique(held.begin(), held.end()), held.end());
  result_.addresses = static_cast<uint32_t>(held.size());
}

template class ExchangeLoad<Dhcp4>;
template class ExchangeLoad<Dhcp6>;

}  // namespace dhcp::bench
