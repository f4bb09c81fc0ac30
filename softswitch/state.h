/// What outlives the switch: the directory of the files in which the module keeps its bindings.
#pragma once

#include <string>

#include "softswitch/control.h"

namespace dhcp::softswitch {

/// Before the module starts: has the module keep its files in `directory`, which is made if need be; "" = in the
/// device's own places. A directory that cannot be had is refused only when it was asked for.
Refusal keep_state_in(const std::string& directory);

/// After the module has started: waits until it has taken the saved bindings in, so that the configuration, which is
/// loaded next, has the last word about static ones.
void await_saved_bindings();

/// Before the module stops: has it write its bindings now, also where it does not save them by itself. A family without
/// a bound client keeps its file.
void save_bindings();

}  // namespace dhcp::softswitch
