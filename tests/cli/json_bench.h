/// A switch that has something to say in every readout, and what it says as JSON.
#pragma once

#include <nlohmann/json.hpp>

#include "tests/cli/bench.h"

namespace dhcp::softswitch::cli {

class JsonBench : public CliTest {
 protected:
  ~JsonBench() override;

  /// What the line says with "json" behind it: one line, one value.
  nlohmann::ordered_json ask(const std::string& line);
  /// Gives every row and every value of every readout some content.
  void fill();

 private:
  void fill_device();
  void fill_servers();
  void fill_snoopings();
  void fill_relays();
  void fill_client6();
};

}  // namespace dhcp::softswitch::cli
