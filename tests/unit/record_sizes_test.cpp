/// Records that the device shares with the module: their sizes where a pointer is four bytes, and the linkage of lists.
#include <gtest/gtest.h>

#include <type_traits>

#include "dhcp/relay6.h"
#include "dhcp/server.h"
#include "platform/adp.h"
#include "platform/queue.h"
#include "platform/task.h"

namespace {

template <class Record>
constexpr bool sized_on_device(size_t bytes) {
  return std::is_standard_layout_v<Record> && (sizeof(void*) != 4 || sizeof(Record) == bytes);
}

static_assert(sized_on_device<ModuleTaskEntry>(60));
static_assert(sized_on_device<DhcpEvent>(32));
static_assert(sized_on_device<skpack>(52));
static_assert(sized_on_device<DhcpBinding>(64));
static_assert(sized_on_device<DhcpServerList>(16));
static_assert(sized_on_device<Dhcp6InfoNode>(36));
static_assert(sized_on_device<Dhcp6ServerNode>(44));

// Lists are walked by their links, so these must stand first.
static_assert(offsetof(DhcpPool, link) == 0 && offsetof(DhcpBinding, link) == 0);
static_assert(offsetof(DhcpServerConfig, enable) == 0 && sizeof(dhcp_flag) == 1 && sizeof(dhcp_word) == 4);

}  // namespace
