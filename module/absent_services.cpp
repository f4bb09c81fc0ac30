#include "module/absent_services.h"

#include "base/services.h"

namespace dhcp::base {

bool server6_on() { return false; }

}  // namespace dhcp::base

int dhcp6_server_packet_process(skpack* /*skp*/) { return 0; }
