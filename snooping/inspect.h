/// The way of one frame through inspection: gate, then the client's or the server's side, then out or on.
///
/// Each step looks at the frame in hand and either says what becomes of it or leaves it to the next step. Nothing here
/// counts or logs a fate; one place does that for all of them.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "binding/outcome.h"
#include "packet/frame4.h"
#include "packet/options4.h"
#include "snooping/snooping.h"

namespace dhcp::snooping {

using binding::Outcome;
using binding::Step;

/// The frame in hand.
class Inspection {
 public:
  Inspection(skpack& buffer, const packet::Frame4& frame, IntfNode& port, int type)
      : buffer_(buffer), frame_(frame), port_(port), type_(type), client_(frame.message().client_mac()) {}

  skpack& buffer() const { return buffer_; }
  const packet::Frame4& frame() const { return frame_; }
  const packet::Message4& message() const { return frame_.message(); }
  const IntfNode& port() const { return port_; }
  uint32_t in_intf() const { return frame_.in_intf(); }
  int vlan() const { return frame_.vlan(); }
  int type() const { return type_; }
  bool is(packet::MessageType type) const { return type_ == static_cast<int>(type); }
  /// True when the type is in the set; `1 << type` for each member.
  bool in_set(uint32_t mask) const { return type_ <= 8 && (mask >> type_ & 1) != 0; }
  bool carries(uint8_t code) const { return packet::find_in_message(message(), code).has_value(); }

  const base::MacAddress& client() const { return client_; }
  /// The client's binding or null, looked up once. create_binding() makes it when the limits allow.
  MacBindStruct* binding();
  MacBindStruct* create_binding();
  bool binding_is_here(const MacBindStruct& binding) const {
    return binding.intf == in_intf() && binding.vlan == vlan();
  }
  /// RELEASE of the binding in hand from its own interface and VLAN: a static one only loses its address.
  void release_binding();

 private:
  skpack& buffer_;
  const packet::Frame4& frame_;
  IntfNode& port_;
  int type_;
  base::MacAddress client_;
  MacBindStruct* binding_ = nullptr;
  bool looked_up_ = false;
};

constexpr uint32_t types(std::initializer_list<packet::MessageType> list) {
  uint32_t mask = 0;
  for (const auto type : list) mask |= 1U << static_cast<int>(type);
  return mask;
}
inline constexpr uint32_t server_types =
    types({packet::MessageType::offer, packet::MessageType::ack, packet::MessageType::nak});
inline constexpr uint32_t client_types =
    types({packet::MessageType::discover, packet::MessageType::request, packet::MessageType::decline,
           packet::MessageType::release, packet::MessageType::inform});
static_assert(server_types == 0x64 && client_types == 0x19a);

/// True when a frame's source MAC must be the client's: verification is on and the binding's MAC is not exempt.
bool source_is_checked(const MacBindStruct& binding);

/// What every frame passes: binding and early source check, cookie, VLAN.
Step gate(Inspection& in);
/// Client's messages on an untrusted port; nothing = forward.
Step client_side(Inspection& in);
/// Any message on a trusted port; nothing = forward.
Step server_side(Inspection& in);

Outcome forward_unsnooped(Inspection& in);
Outcome forward_from_client(Inspection& in);
Outcome forward_from_trusted(Inspection& in);

/// The client's entry as the log shows it; `what` stands before it, with a blank behind it.
void log_binding(const char* function, int line, const char* what, const MacBindStruct& binding);

}  // namespace dhcp::snooping
