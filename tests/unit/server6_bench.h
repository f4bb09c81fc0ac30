/// The bench of the DHCPv6 server: it is on, VLAN 10 has the address 2001:db8:1::1, and what it says is read as text.
#pragma once

#include "dhcp/server6.h"
#include "tests/unit/bench.h"
#include "tests/unit/wire6.h"

namespace bench {

using wire::ip6;

/// A client's message; what is not said is left out.
struct Ask6 {
  int type;
  const char* address = nullptr;  // in the IA
  bool names_server = false;
  uint32_t client = 1;
  int ia = 3;  // IA_NA, 4 IA_TA, 0 none
  Bytes more{};
};

class Server6Bench : public DeviceBench {
 protected:
  void SetUp() override;
  void TearDown() override;

  /// Pool 1 of the tests, unless said; without a prefix length it needs an end.
  static void make_pool(uint32_t id = 1, const char* start = "2001:db8:1::10", int prefix_len = 64,
                        const char* end = "::");
  static Bytes client_id(uint32_t client);  // its value
  static Bytes server_id();
  static Bytes options(const Ask6& ask);
  static wire::Message6 message(const Ask6& ask);
  /// The answer to one frame, if any.
  static std::optional<wire::Reply6> answer(const Bytes& frame);
  /// The same as text: "ADVERTISE 2001:db8:1::10", "REPLY none", "REPLY status 4"; empty for silence.
  static std::string answer_text(const Bytes& frame);
  static std::string told(const Ask6& ask) { return answer_text(message(ask).frame()); }
  /// SOLICIT and REQUEST; the address leased.
  static std::string lease(uint32_t client, const char* address = nullptr);
  /// What the server says became of the last messages, each named once.
  static std::string verdicts();

  static std::vector<Dhcp6Binding> bindings();
  /// Addresses, newest first; offers in brackets.
  static std::string bound();
  static std::string conflicts();
};

std::string text_of(const uint8_t* address);

}  // namespace bench
