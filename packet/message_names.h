/// Message types in capitals, as displays and logs name them: "other" for 0 and for what is unknown.
#pragma once

namespace dhcp::packet {

const char* message_name4(unsigned type);  // RFC 2132 section 9.6
const char* message_name6(unsigned type);  // RFC 8415 section 7.3

}  // namespace dhcp::packet
