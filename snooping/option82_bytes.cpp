/// The bytes of option 82, and the device's MAC that stands in its default form.
#include <algorithm>
#include <cstring>

#include "base/mac.h"
#include "packet/bytes.h"
#include "packet/options4.h"
#include "platform/sysmng.h"
#include "snooping/option82.h"

namespace {

using dhcp::snooping::SubOption;

constexpr const char* cpu_interface = "eth0";
constexpr size_t mac_size = 6;

uint8_t* put_header(uint8_t* at, SubOption code, size_t length) {
  *at++ = static_cast<uint8_t>(code);
  *at++ = static_cast<uint8_t>(length);
  return at;
}

/// A number, the string's length and the string, without a terminator.
uint8_t* put_string(uint8_t* at, SubOption code, uint8_t number, const char* text) {
  const size_t length = strnlen(text, DHCP_SNOOP_STRING_SIZE - 1);
  at = put_header(at, code, length + 2);
  *at++ = number;
  *at++ = static_cast<uint8_t>(length);
  return std::copy_n(text, length, at);
}

/// Type 0, length 4: VLAN, module, port. Of an aggregation group the port byte shows the group's number.
uint8_t* put_default_circuit(uint8_t* at, int vlan, uint32_t port, int module) {
  at = put_header(at, SubOption::circuit_id, 6);
  *at++ = 0;
  *at++ = 4;
  dhcp::packet::store_be16(at, static_cast<uint16_t>(vlan));
  at += 2;
  *at++ = static_cast<uint8_t>(module);
  *at++ = static_cast<uint8_t>(port);
  return at;
}

/// Type 0, length 6: the device's MAC.
uint8_t* put_default_remote(uint8_t* at, const uint8_t* mac) {
  at = put_header(at, SubOption::remote_id, 2 + mac_size);
  *at++ = 0;
  *at++ = mac_size;
  return std::copy_n(mac, mac_size, at);
}

/// Option code and length around what stands from `dst` + 2 to `end`; the whole size.
int put_option(uint8_t* dst, const uint8_t* end) {
  const auto size = static_cast<int>(end - dst);
  dst[0] = dhcp::packet::option::agent_information;
  dst[1] = static_cast<uint8_t>(size - 2);
  return size;
}

}  // namespace

int __fill_option82(uint8_t* dst, const uint8_t* mac, int vlan, uint32_t port, int module) {
  return put_option(dst, put_default_remote(put_default_circuit(dst + 2, vlan, port, module), mac));
}

int fill_option82(uint8_t* dst, const uint8_t* mac, int vlan, uint32_t port, int module) {
  using dhcp::snooping::has_setting;
  const SUB_OPTION* set = __find_SUB_OPTION(vlan);
  if (set == nullptr) return __fill_option82(dst, mac, vlan, port, module);
  uint8_t* at = dst + 2;
  at = has_setting(*set, SubOption::circuit_id)
           ? put_string(at, SubOption::circuit_id, set->circuit_id, set->circuit_string)
           : put_default_circuit(at, vlan, port, module);
  at = has_setting(*set, SubOption::remote_id)
           ? put_string(at, SubOption::remote_id, set->remote_id, set->remote_string)
           : put_default_remote(at, mac);
  if (has_setting(*set, SubOption::link_selection)) {
    at = put_header(at, SubOption::link_selection, 4);
    dhcp::packet::store_be32(at, set->ip);
    at += 4;
  }
  return put_option(dst, at);
}

int get_option82_default_remoteid(uint8_t* mac) {
  auto& record = g_dhcp_snooping;
  if (record.dev_mac_valid != 1) {
    uint8_t asked[mac_size] = {};
    if (get_dev_mac(cpu_interface, asked) != 0) return -1;
    std::copy_n(asked, mac_size, record.dev_mac);
    record.dev_mac_valid = 1;
  }
  std::copy_n(record.dev_mac, mac_size, mac);
  return 0;
}
