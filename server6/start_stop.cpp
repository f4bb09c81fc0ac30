/// The server's switch, and the identifier that it takes when it is first switched on.
#include <algorithm>
#include <cstdio>

#include "base/os.h"
#include "base/services.h"
#include "dhcp/trap.h"
#include "packet/options6.h"
#include "server6/own.h"
#include "server6/server6.h"

bool dhcp::base::server6_on() { return dhcp6s_cfg.enabled != 0; }

namespace dhcp::server6 {

namespace {

/// The type in the first two bytes tells an identifier from none. It stays until the record begins anew: clients keep
/// it.
bool identifier_built() { return dhcp6s_cfg.duid[1] != 0; }

void build_identifier() {
  fprintf(stderr, "Init server ID...\n");
  const PoolsLock lock;
  const auto duid = packet::duid_llt(base::now32(), own_mac().value_or(base::MacAddress{}));
  std::copy(duid.begin(), duid.end(), dhcp6s_cfg.duid);
}

}  // namespace

}  // namespace dhcp::server6

int dhcp6_server_start_stop(int on) {
  using namespace dhcp;
  const bool wanted = on != 0;
  if (wanted == base::server6_on()) return 0;
  // Relay and server answer the same frames: only one of them may be on.
  if (wanted && base::relay6_on()) return -1;
  if (wanted && !server6::identifier_built()) server6::build_identifier();
  dhcp6s_cfg.enabled = wanted ? 1 : 0;
  if (base::snooping6_on()) return 0;  // its rules serve both
  if (wanted) {
    open_dhcp6_cpu();
  } else {
    close_dhcp6_cpu();
  }
  return 0;
}

int get_dhcp6_server_start(int* out) {
  *out = dhcp6s_cfg.enabled;
  return 0;
}
