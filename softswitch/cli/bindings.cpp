#include "softswitch/cli/bindings.h"

namespace dhcp::softswitch::cli {

std::vector<DhcpSnoopBinding> all_bindings() {
  std::vector<DhcpSnoopBinding> bindings;
  for (int count = dhcp_snoop_get_bindings(nullptr, 0); static_cast<size_t>(count) > bindings.size();) {
    bindings.resize(static_cast<size_t>(count));
    count = dhcp_snoop_get_bindings(bindings.data(), count);
    if (static_cast<size_t>(count) < bindings.size()) bindings.resize(static_cast<size_t>(count));
  }
  return bindings;
}

}  // namespace dhcp::softswitch::cli
