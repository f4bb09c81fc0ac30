/// Frames of everybody who comes along: clients, relays and servers of every message type, honest ones, lying ones and
/// damaged ones. None of them speaks as a resident, and no server that is believed gives a resident's address away.
#pragma once

#include "soak/switch.h"

namespace soak {

class Strangers {
 public:
  Strangers(Switch& device, Dice& dice) : switch_(device), dice_(dice) {}
  /// One frame of one of them.
  void speak();

 private:
  Mac somebody();
  uint32_t some_port();
  uint16_t some_vlan();
  uint32_t some_ip();
  wire::Ip6 some_ip6();
  Bytes client4();
  Bytes server4();
  Bytes message6(int type);
  Bytes relayed6(int type, int depth);
  Bytes options6();
  Bytes one_option6();
  void damage(Bytes& frame, size_t headers);
  void take_up(Family family);

  Switch& switch_;
  Dice& dice_;
};

}  // namespace soak
