/// The tasks that the task service runs.
#pragma once

#include <vector>

#include "softswitch/control.h"

namespace dhcp::softswitch {

std::vector<TaskRow> running_tasks();  // in the order of their start

}  // namespace dhcp::softswitch
