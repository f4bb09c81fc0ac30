/// The readouts as programs get them.
#include <fstream>

#include "dhcp/snooping.h"
#include "tests/cli/json_bench.h"
#include "tests/fake/device.h"

namespace dhcp::softswitch::cli {
namespace {

using json = nlohmann::ordered_json;
using testing::HasSubstr;

class JsonTest : public JsonBench {
 protected:
  void know_ports() {
    fake().port_rows[3] = {{3, "veth3", PortMode::trunk, 1, 7, {5, 7}, "to \"core\" \xff", true, false, false},
                           true,
                           {11, 1100, 22, 2200, 1, 2, 3, 4}};
    fake().macs = {{10, {2, 0, 0, 0, 0, 0x51}, 3, 12}};
  }
};

TEST_F(JsonTest, TablesAreArraysSettingsObjectsAndWhatIsAbsentNull) {
  know_ports();
  EXPECT_EQ(ask("show mac address-table"), json::parse(R"({"addresses": [
    {"vlan": 10, "mac": "02:00:00:00:00:51", "port": "Gi3", "age": 12}], "aging_time": 300})"));
  const json ports = ask("show interfaces");
  ASSERT_EQ(ports.size(), 10U);
  EXPECT_EQ(ports[0], json::parse(R"({"port": "Gi1", "device": null, "state": "no device", "mode": "access",
    "vlans": {"access": 1, "native": null, "allowed": null}, "received": 0, "sent": 0, "to_cpu": 0,
    "description": null})"));
  EXPECT_EQ(ports[2]["vlans"], json::parse(R"({"access": null, "native": 7, "allowed": [5, 7]})"));
  const json port = ask("show interfaces gigabitethernet 3");
  EXPECT_EQ(port["received"], json::parse(R"({"frames": 11, "bytes": 1100})"));
  EXPECT_EQ(port["description"], "to \"core\" \xef\xbf\xbd");  // what is no UTF-8 is replaced
}

TEST_F(JsonTest, ConfigurationsAreGroupedByBlock) {
  type({"configure", "vlan 5", "interface gigabitethernet 3", "description a", "ip dhcp snooping trust",
        "ip dhcp pool 1", "network 10.0.0.0 255.255.255.0 10.0.0.10 10.0.0.20", "exit", "ip dhcp-server", "end",
        "write memory"});
  const json blocks = ask("show running-config");
  EXPECT_EQ(blocks[0], json::parse(R"({"block": null, "lines": ["hostname switch", "vlan 5"]})"));
  EXPECT_EQ(blocks[1], json::parse(R"({"block": "interface gigabitethernet 3", "lines": ["description a"]})"));
  EXPECT_EQ(ask("show startup-config"), blocks);
  size_t lines = 0;
  for (const json& block : blocks) lines += block["lines"].size() + (block["block"].is_null() ? 0 : 1);
  const std::string all = type({"show running-config"});
  const auto marks = [&](const std::string& mark) {
    size_t count = 0;
    for (size_t at = 0; (at = all.find("\n" + mark + "\n", at)) != std::string::npos; ++at) ++count;
    return count;
  };
  EXPECT_EQ(lines + 1 + marks("!") + marks("exit") + marks("end"), std::count(all.begin(), all.end(), '\n') + 0U)
      << all;
}

TEST_F(JsonTest, AFileWithoutEndsOfBlocksIsGroupedAsItIsRead) {
  const std::string path = directory + "/startup.conf";
  std::ofstream(path) << "interface gigabitethernet 1\r\ndescription exit\nip dhcp snooping vlan 5-7\nint gi 2\n";
  EXPECT_EQ(ask("show startup-config"), json::parse(R"([
    {"block": "interface gigabitethernet 1", "lines": ["description exit"]},
    {"block": null, "lines": ["ip dhcp snooping vlan 5-7"]}, {"block": "int gi 2", "lines": []}])"));
  std::ofstream(path) << "vlan 5\nvlan 0\n";
  EXPECT_EQ(refusal("show startup-config json"), "2: a VLAN identifier must be a number from 1 to 4094");
  EXPECT_EQ(type({"show startup-config"}), "vlan 5\nvlan 0\n");
}

TEST_F(JsonTest, BindingsAreTheRecords) {
  fill();
  const json learning = json::parse(R"({"mac": "02:00:00:00:00:53", "ip": null, "vlan": 10, "port": "Gi1",
    "lease": null, "left": null, "type": "dynamic", "state": "learning"})");
  const json bound = json::parse(R"({"mac": "02:00:00:00:00:51", "ip": "10.0.0.51", "vlan": 10, "port": "Gi1",
    "lease": 600, "left": 599, "type": "dynamic", "state": "bound"})");
  EXPECT_THAT(ask("show ip dhcp snooping binding"), testing::UnorderedElementsAre(learning, bound));
  EXPECT_EQ(ask("show ipv6 dhcp snooping binding mac 02:00:00:00:00:51"), json::parse(R"([{
    "mac": "02:00:00:00:00:51", "ipv6": "2001:db8:10::51", "vlan": 10, "port": "Gi1", "lease": 600, "left": 599,
    "type": "dynamic", "state": "bound"}])"));
  find_MacBindStruct(std::array<uint8_t, 6>{2, 0, 0, 0, 0, 0x51}.data(), 0)->lease = -1;
  EXPECT_EQ(ask("show ip dhcp snooping binding mac 02:00:00:00:00:51")[0]["left"], 4294967295);
  find_MacBindStruct(std::array<uint8_t, 6>{2, 0, 0, 0, 0, 0x51}.data(), 0)->lease = 50;
  fake::device().now += 100;  // it has run out
  EXPECT_EQ(ask("show ip dhcp snooping binding mac 02:00:00:00:00:51")[0]["left"], 0);
}

TEST_F(JsonTest, LeasesAndPoolsAreTheRecords) {
  fill();
  const json leases = ask("show ip dhcp binding");
  EXPECT_EQ(leases[0], json::parse(R"({"ip": "10.0.0.52", "mac": null, "client_id": "007063", "pool": 1,
    "left": 4294967295, "expires": null})"));
  EXPECT_EQ(leases[1]["client_id"], "01020000000051");
  EXPECT_EQ(leases[1]["expires"], 4000000000);
  EXPECT_EQ(ask("show ip dhcp pool 1"), json::parse(R"({"pool": 1, "network": "10.0.0.0", "mask": "255.255.255.0",
    "start": "10.0.0.10", "end": "10.0.0.99", "lease": 86400, "domain_name": "lab.example",
    "default_routers": ["10.0.0.1"], "dns_servers": ["192.0.2.2", "192.0.2.1"],
    "options": [{"code": 100, "type": "ascii", "value": "CET"}, {"code": 42, "type": "ip", "value": "192.0.2.1"},
                {"code": 43, "type": "hex", "value": "0104c0a80a01"}],
    "server_name": "tftp", "boot_file": "image", "boot_file_size": 7,
    "hosts": [{"mac": "02:00:00:00:00:52", "ip": "10.0.0.52"}], "bindings": 2})"));
  EXPECT_EQ(ask("show ipv6 dhcp binding"), json::parse(R"([{"ipv6": "2001:db8:10::51", "type": "IA_NA", "iaid": 0,
    "client_id": "00030001020000000051", "pool": 1, "preferred_lifetime": 3600, "valid_lifetime": 600,
    "left": 599}])"));
  const json pools = ask("show ipv6 dhcp server")["pools"];
  EXPECT_EQ(pools[2]["valid_lifetime"], 4294967295);
  EXPECT_EQ(pools[2]["hosts"], json::parse(R"([{"mac": "02:00:00:00:00:52", "ipv6": "2001:db8:10::52"}])"));
  EXPECT_EQ(pools[1]["end"], "2001:db8:20::20");
}

TEST_F(JsonTest, ASessionWithAProgramGivesEveryAcceptedLineAsJson) {
  session.speak_to(Reader::program);
  EXPECT_EQ(json::parse(type({"show vlan"}))[0]["vlan"], 1);
  EXPECT_EQ(type({"configure", "vlan 5"}), "");
  EXPECT_EQ(json::parse(type({"do sh vlan"}))[1]["vlan"], 5);
  EXPECT_EQ(json::parse(type({"do write memory"})), "Saved to " + directory + "/startup.conf\n");
  EXPECT_EQ(refusal("do show vlan | include 5"), "14: JSON has no lines to filter");
  session.speak_to(Reader::person);
  EXPECT_THAT(type({"do show vlan | include 5"}), HasSubstr("5"));
}

}  // namespace
}  // namespace dhcp::softswitch::cli
