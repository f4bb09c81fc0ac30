/// Clients with long leases, and what the switch must know of them: until they give their addresses up, whatever the
/// strangers say, every one of them is there with its address at its place.
#pragma once

#include <array>
#include <optional>

#include "soak/switch.h"

namespace soak {

class Residents {
 public:
  Residents(Switch& device, Dice& dice) : switch_(device), dice_(dice) {}
  /// Nobody holds anything; then everybody gets an address.
  void move_in();
  /// The switch has begun anew: what snooping knew is back, whom a server served comes again.
  void return_after_restart();
  /// One of them renews, begins anew, gives up and comes back, or is impersonated from another port.
  void act();
  /// The switch's own interface is answered by its server when it asks.
  void answer_own_client();
  /// All of them are known as they must be.
  void check();
  uint64_t checked() const { return checked_; }

 private:
  static constexpr uint32_t count = 40;

  /// What one of them holds; none = nothing.
  struct Resident {
    std::optional<uint32_t> ip;
    std::optional<wire::Ip6> ip6;
  };

  static Mac mac_of(uint32_t n) { return {0x02, 0x99, 0xa5, 0x5a, 0xc3, static_cast<uint8_t>(n)}; }
  static uint32_t port_of(uint32_t n) { return 1 + n % 8; }
  void say4(const wire::Message& message, uint32_t port) { switch_.receive(message.frame(), port, Family::ip4); }
  void say6(const wire::Message6& message, uint32_t port) { switch_.receive(message.frame(), port, Family::ip6); }

  void lease4(uint32_t n);
  void lease6(uint32_t n);
  void renew4(uint32_t n);
  void renew6(uint32_t n);
  void release4(uint32_t n);
  void impersonate(uint32_t n);
  void ask_relay(uint32_t n);
  void check_leases();
  void check_bindings();
  void check_own_client();

  Switch& switch_;
  Dice& dice_;
  std::array<Resident, count> all_;
  bool own_bound_ = false;
  uint64_t checked_ = 0;
};

}  // namespace soak
