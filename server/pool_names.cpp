/// A pool's texts: domain name, TFTP server name, boot file name; and the boot file's size.
#include <cstring>
#include <new>

#include "base/log.h"
#include "server/pool_call.h"

using namespace dhcp::server;

namespace {

/// Copies at most `limit` characters and zeroes the rest: options 66 and 67 send the whole field. The buffer, one byte
/// longer than the limit, is made on first use; false when there is no memory for it.
bool store_name(char*& buffer, size_t limit, const char* name) {
  if (buffer == nullptr) buffer = new (std::nothrow) char[limit + 1];
  if (buffer == nullptr) return false;
  const size_t length = strnlen(name, limit);
  memcpy(buffer, name, length);
  memset(buffer + length, 0, limit + 1 - length);
  return true;
}

void drop_name(char*& buffer) {
  delete[] buffer;
  buffer = nullptr;
}

}  // namespace

int dhcp_server_set_tftp_server(uint32_t pool_id, const char* name) {
  const PoolCall pool(pool_id);
  if (!pool || !store_name(pool->server_name, DHCPS_SERVER_NAME_SIZE, name)) return -1;
  DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "set TFTP SERVER Name", "pool_id:%u, sname:%s.\n", pool_id, name);
  return 0;
}

int dhcp_server_del_tftp_server(uint32_t pool_id) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  drop_name(pool->server_name);
  DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "del TFTP SERVER Name", "pool_id:%u.\n", pool_id);
  return 0;
}

int dhcp_server_set_boot_file_name(uint32_t pool_id, const char* name) {
  const PoolCall pool(pool_id);
  if (!pool || !store_name(pool->boot_file, DHCPS_BOOT_FILE_SIZE, name)) return -1;
  DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "set Boot file Name", "pool_id:%u, bootfile:%s.\n", pool_id, name);
  return 0;
}

int dhcp_server_del_boot_file_name(uint32_t pool_id) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  drop_name(pool->boot_file);
  DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "Del Boot file Name", "pool_id:%u.\n", pool_id);
  return 0;
}

int dhcp_server_set_boot_file_size(uint32_t pool_id, int size) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  pool->boot_file_size = static_cast<uint16_t>(size);
  DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "set Boot file size", "pool_id:%u, size:%d.\n", pool_id, size);
  return 0;
}

int dhcp_server_set_domain_name(uint32_t pool_id, const char* name) {
  const PoolCall pool(pool_id);
  if (!pool || !store_name(pool->domain_name, DHCPS_DOMAIN_NAME_SIZE, name)) return -1;
  DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "set domain name", "pool_id:%u, domain_name:%s.\n", pool_id, name);
  return 0;
}

int dhcp_server_del_domain_name(uint32_t pool_id) {
  const PoolCall pool(pool_id);
  if (!pool) return -1;
  drop_name(pool->domain_name);
  DHCP_LOG_AT_SPACED(dhcp::base::module_frame, "del domain name", "pool_id:%u.\n", pool_id);
  return 0;
}
