/// Display and save.
#include "base/report.h"
#include "base/text.h"
#include "platform/text.h"
#include "relay6/relay6.h"

using namespace dhcp::relay6;
using dhcp::base::Ip6Text;

namespace {

void write_row(FILE* out, const char* destination, const char* interface, const char* status) {
  fprintf(out, "%-20s  %-18s  %s\n", destination, interface, status);
}

void write_relay(FILE* out) {
  fprintf(out, "\n%-32s %s \n", "DHCPv6 relay status :", str_enable(gDhcp6Relay.status.load()));
  fputc('\n', out);
  write_row(out, "Destination address", "Output Interface", "Status");
  write_row(out, "--------------------", "----------------", "------");
  for (const auto& copy : destinations().copies()) {
    const Dhcp6ServerNode& node = copy.node;
    write_row(out, Ip6Text(node.ip6).c_str(), node.out_intf != 0 ? str_intf_id(node.out_intf) : "--",
              node.valid != 0 ? "valid" : "invalid");
  }
  fputc('\n', out);
}

}  // namespace

int show_dhcp6_relay_info(char* path, int a, int b) { return dhcp::base::write_report(path, a, b, write_relay); }

int onu_dhcp6_relay_save(FILE* stream) {
  if (gDhcp6Relay.status.load() != 0) fputs("service dhcpv6-relay\r\n", stream);
  for (const auto& copy : destinations().copies()) {
    fprintf(stream, "ipv6 dhcp relay destination %s", Ip6Text(copy.node.ip6).c_str());
    if (copy.node.out_intf != 0) {
      fprintf(stream, " interface gigabitethernet %d", static_cast<int>(copy.node.out_intf));
    }
    fputs("\r\n", stream);
  }
  return 0;
}
