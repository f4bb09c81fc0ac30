/// What the operator has set for option 82, one entry a VLAN that has any setting.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "base/list.h"
#include "dhcp/snooping.h"
#include "snooping/option82.h"
#include "snooping/snooping.h"

namespace {

using dhcp::base::Records;
using dhcp::snooping::SubOption;

/// A copy that is cut at 63 characters; the rest of the field is zero.
void copy_string(char (&field)[DHCP_SNOOP_STRING_SIZE], const char* text) {
  const size_t length = strnlen(text, sizeof field - 1);
  std::fill(std::copy_n(text, length, field), std::end(field), '\0');
}

/// Stores one setting; false when the type is not one of the three or its string is missing.
bool store_setting(SUB_OPTION& entry, uint32_t ip, int id, const char* circuit_string, const char* remote_string,
                   SubOption type) {
  switch (type) {
    case SubOption::circuit_id:
      if (circuit_string == nullptr) return false;
      entry.circuit_id = static_cast<uint8_t>(id);
      copy_string(entry.circuit_string, circuit_string);
      break;
    case SubOption::remote_id:
      if (remote_string == nullptr) return false;
      entry.remote_id = static_cast<uint8_t>(id);
      copy_string(entry.remote_string, remote_string);
      break;
    case SubOption::link_selection: entry.ip = ip; break;
    default: return false;
  }
  entry.flags |= dhcp::snooping::setting_flag(type);
  return true;
}

void remove_entry(SUB_OPTION& entry) {
  dhcp::base::list_unlink(entry.link);
  --g_dhcp_snooping.sub_option_count;
  delete &entry;
}

}  // namespace

void dhcp::snooping::free_sub_options() {
  for (SUB_OPTION& entry : Records<SUB_OPTION>(g_dhcp_snooping.sub_option_list)) remove_entry(entry);
}

SUB_OPTION* __find_SUB_OPTION(int vlan) {
  if (g_dhcp_snooping.sub_option_count == 0) return nullptr;
  for (SUB_OPTION& entry : Records<SUB_OPTION>(g_dhcp_snooping.sub_option_list)) {
    if (entry.vlan == static_cast<uint32_t>(vlan)) return &entry;
  }
  return nullptr;
}

SUB_OPTION* find_SUB_OPTION(int vlan, int type) {
  SUB_OPTION* entry = __find_SUB_OPTION(vlan);
  return entry != nullptr && dhcp::snooping::has_setting(*entry, static_cast<SubOption>(type)) ? entry : nullptr;
}

int add_SUB_OPTION(int vlan, uint32_t ip, int id, const char* circuit_string, const char* remote_string, int type) {
  const auto wanted = static_cast<SubOption>(type);
  if (SUB_OPTION* known = __find_SUB_OPTION(vlan)) {
    return store_setting(*known, ip, id, circuit_string, remote_string, wanted) ? 0 : -1;
  }
  std::unique_ptr<SUB_OPTION> fresh(new (std::nothrow) SUB_OPTION{});
  if (fresh == nullptr || !store_setting(*fresh, ip, id, circuit_string, remote_string, wanted)) return -1;
  fresh->vlan = static_cast<uint32_t>(vlan);
  dhcp::base::list_add_head(g_dhcp_snooping.sub_option_list, fresh.release()->link);
  ++g_dhcp_snooping.sub_option_count;
  return 0;
}

int del_SUB_OPTION(int vlan, int type) {
  SUB_OPTION* entry = __find_SUB_OPTION(vlan);
  if (entry == nullptr) return 0;
  const uint32_t flag = dhcp::snooping::setting_flag(static_cast<SubOption>(type));
  if (flag == 0) return -1;
  entry->flags &= ~flag;
  if (entry->flags == 0) remove_entry(*entry);
  return 0;
}
