/// The snooping semaphore: it exists from the moment the library is loaded, because the host may tell of port changes
/// before it starts the module, and is never destroyed.
#include <semaphore.h>

#include "snooping/snooping.h"

extern "C" {
DHCP_API sem_t dhcp_snooping_sem;
}

namespace {

[[maybe_unused]] const int made_at_load = sem_init(&dhcp_snooping_sem, 0, 1);

}  // namespace

namespace dhcp::snooping {

SnoopingLock::SnoopingLock()
    : guard_(dhcp_snooping_mutex_lock_func, dhcp_snooping_mutex_unlock_func,
             "DHCP Snooping mutex trylock() ==========", "DHCP Snooping mutex unlock()  **********") {}

}  // namespace dhcp::snooping

int dhcp_snooping_mutex_lock_func() { return dhcp::base::take_semaphore(dhcp_snooping_sem, __func__, __LINE__); }
int dhcp_snooping_mutex_unlock_func() { return dhcp::base::give_semaphore(dhcp_snooping_sem, __func__, __LINE__); }
