/// The server lock's making. It exists from the moment the library is loaded, because the host may configure the
/// server before the module is initialised.
#pragma once

namespace dhcp::server {

/// Makes the lock anew, free, whatever became of the one before.
void create_lock();

}  // namespace dhcp::server
