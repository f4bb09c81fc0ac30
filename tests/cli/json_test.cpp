/// The readouts as programs get them.
#include <nlohmann/json.hpp>

#include "softswitch/cli/form.h"
#include "softswitch/cli/running_config.h"
#include "tests/cli/bench.h"

namespace dhcp::softswitch::cli {
namespace {

using nlohmann::json;
using testing::HasSubstr;

class JsonTest : public CliTest {
 protected:
  /// What the line says with "json" behind it.
  json ask(const std::string& line) {
    const std::string text = type({line + " json"});
    EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
    const json value = json::parse(text, nullptr, false);
    EXPECT_FALSE(value.is_discarded()) << line << ": " << text;
    return value;
  }
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

/// What a readout's example asks for, without its filter.
std::string asked(const Command& command) {
  return std::string(trim_end(command.example.substr(0, command.example.find('|'))));
}

TEST_F(JsonTest, EveryShowCommandHasIt) {
  type({"configure", "ip dhcp pool 1", "end", "write memory"});
  for (const Command& command : commands()) {
    EXPECT_EQ(command.form.starts_with("show "), command.show != nullptr) << command.form;
    if (command.show == nullptr) continue;
    const json value = ask(asked(command));
    EXPECT_TRUE(value.is_object() || value.is_array()) << command.form << ": " << value;
  }
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
