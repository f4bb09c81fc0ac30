/// A configuration's text as the settings that it means, without carrying them out.
#pragma once

#include <string>
#include <vector>

#include "softswitch/cli/table.h"

namespace dhcp::softswitch::cli {

/// One line, understood.
struct Setting {
  std::string line;  // as it can be typed inside its block
  const Command* command = nullptr;
  bool undo = false;  // the `no` form of it
  Args args;
  Mode mode = Mode::configure;          // where it is taken
  std::string opener;                   // the line that opens its block; "" = none
  const Command* opener_row = nullptr;  // null = none
  std::vector<Value> opener_args;
};

bool same_setting(const Setting& a, const Setting& b);
/// Whether both say what one and the same thing is to be, so that the one takes the other's place.
bool same_thing(const Setting& a, const Setting& b);
/// Whether the line opens the block that the setting stands in.
bool opens_block_of(const Setting& opener, const Setting& setting);
/// The line that takes the setting back, to be typed where it stands; "" = there is none.
std::string taking_back(const Setting& setting);

bool opens_block(const Setting& setting);

/// What becomes of lines that add VLANs to a list: one setting a VLAN, or one a line.
enum class VlanLists { apart, whole };

/// Nothing of the text is carried out. A fault's reason begins with the number of its line.
Outcome read_settings(const std::string& text, std::vector<Setting>& out, VlanLists lists = VlanLists::apart);

}  // namespace dhcp::softswitch::cli
