#include "packet/message_names.h"

#include <array>
#include <cstddef>

namespace dhcp::packet {

namespace {

constexpr std::array names4{"other", "DISCOVER", "OFFER", "REQUEST", "DECLINE", "ACK", "NAK", "RELEASE", "INFORM"};
constexpr std::array names6{"other", "SOLICIT", "ADVERTISE", "REQUEST",     "CONFIRM",  "RENEW",      "REBIND",
                            "REPLY", "RELEASE", "DECLINE",   "RECONFIGURE", "INFO-REQ", "RELAY-FORW", "RELAY-REPL"};

template <size_t size>
const char* name_in(const std::array<const char*, size>& names, unsigned type) {
  return names[type < size ? type : 0];
}

}  // namespace

const char* message_name4(unsigned type) { return name_in(names4, type); }
const char* message_name6(unsigned type) { return name_in(names6, type); }

}  // namespace dhcp::packet
