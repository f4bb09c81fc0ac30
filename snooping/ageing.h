/// When bindings are aged.
#pragma once

namespace dhcp::snooping {

/// The next call of the timer only starts the clock.
void restart_ageing();

}  // namespace dhcp::snooping
