#include "server/lock.h"

#include <semaphore.h>

#include "server/server.h"

extern "C" {
/// Never destroyed: a thread of the host's may outlive the module.
DHCP_API sem_t dhcp_server_sem;
}

namespace dhcp::server {

namespace {

[[maybe_unused]] const int made_at_load = sem_init(&dhcp_server_sem, 0, 1);

}  // namespace

void create_lock() { sem_init(&dhcp_server_sem, 0, 1); }

ServerLock::ServerLock()
    : guard_(dhcp_server_mutex_lock_func, dhcp_server_mutex_unlock_func,
             "DHCP Server mutex try to lock() ++++++++++++++++", "DHCP Server mutex unlock()      ----------------") {}

}  // namespace dhcp::server

int dhcp_server_mutex_lock_func() { return dhcp::base::take_semaphore(dhcp_server_sem, __func__, __LINE__); }

int dhcp_server_mutex_unlock_func() { return dhcp::base::give_semaphore(dhcp_server_sem, __func__, __LINE__); }
