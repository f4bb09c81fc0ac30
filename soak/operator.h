/// A host that configures, looks, saves and clears while frames come in: anything but what would take from a resident.
#pragma once

#include "soak/switch.h"

namespace soak {

class Operator {
 public:
  Operator(const Switch& device, Dice& dice) : switch_(device), dice_(dice) {}
  void act();

 private:
  void servers();
  void snooping();
  void relays();
  void look();
  void port_change();
  void set_clock();

  const Switch& switch_;
  Dice& dice_;
};

}  // namespace soak
