/// A pool's user options: sent to every client, asked for or not.
#include <cstdio>
#include <cstring>

#include "base/log.h"
#include "server/pool_call.h"

using namespace dhcp::server;

namespace {

/// The option, where it stands in the list; made at the head when there is none. Null when there is no memory.
DhcpPoolOption* find_or_make_option(DhcpPool& pool, uint8_t code) {
  DhcpPoolOption* option = dhcp_get_pool_option(&pool.options.head, code);
  if (option != nullptr) return option;
  option = new (std::nothrow) DhcpPoolOption{};
  if (option == nullptr) return nullptr;
  option->code = code;
  link_record(pool.options, option);
  return option;
}

}  // namespace

int dhcp_server_set_pool_option(uint32_t pool_id, uint8_t code, uint8_t len, const uint8_t* value, uint8_t type) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  DhcpPoolOption* option = find_or_make_option(*pool, code);
  if (option == nullptr) {
    fprintf(stderr, "memory mallc failed for dhcp pool option !!\n");
    DHCP_LOG_AT_SPACED(dhcp::base::module_service, "pool option", " memory mallc failed for dhcp pool option.\n");
    return -1;
  }
  option->len = len;
  memcpy(option->value, value, sizeof option->value);
  option->type = type;
  return 0;
}

int dhcp_server_del_pool_option(uint32_t pool_id, uint8_t code) {
  const PoolCall pool(pool_id);
  DhcpPoolOption* option = pool ? dhcp_get_pool_option(&pool->options.head, code) : nullptr;
  if (option == nullptr) return -1;
  free_record(pool->options, option);
  DHCP_LOG_AT_SPACED(dhcp::base::module_service, "pool option", " pool_id:%u, type:%u.\n", pool_id, code);
  return 0;
}
