#include "server/lock.h"

#include "server/server.h"

namespace dhcp::server {

namespace {

/// Never destroyed: a thread of the host's may outlive the module.
struct LoadedSemaphore {
  sem_t semaphore;
  LoadedSemaphore() { sem_init(&semaphore, 0, 1); }
};

LoadedSemaphore dhcp_server_sem;

}  // namespace

void create_lock() { sem_init(&dhcp_server_sem.semaphore, 0, 1); }

ServerLock::ServerLock()
    : guard_(dhcp_server_mutex_lock_func, dhcp_server_mutex_unlock_func,
             "DHCP Server mutex try to lock() ++++++++++++++++", "DHCP Server mutex unlock()      ----------------") {}

}  // namespace dhcp::server

int dhcp_server_mutex_lock_func() {
  return dhcp::base::take_semaphore(dhcp::server::dhcp_server_sem.semaphore, __func__, __LINE__);
}

int dhcp_server_mutex_unlock_func() {
  return dhcp::base::give_semaphore(dhcp::server::dhcp_server_sem.semaphore, __func__, __LINE__);
}
