/// The device's text helpers, checksum and temporary files.
#include "platform/text.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

#include "softswitch/checksum.h"

namespace {

constexpr uint32_t group_mark = 0x10000000;
constexpr size_t path_room = 128;

}  // namespace

char* onu_mac2str(const uint8_t mac[6], char text[18]) {
  std::snprintf(text, 18, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
  return text;
}

int onu_str2mac(const char* text, uint8_t mac[6]) {
  unsigned part[6];
  char more;
  if (std::sscanf(text, "%2x:%2x:%2x:%2x:%2x:%2x%c", &part[0], &part[1], &part[2], &part[3], &part[4], &part[5],
                  &more) != 6)
    return -1;
  for (int i = 0; i < 6; ++i) mac[i] = static_cast<uint8_t>(part[i]);
  return 0;
}

const char* str_enable(int on) { return on != 0 ? "enable" : "disable"; }

const char* str_intf_id(uint32_t intf) {
  static thread_local char text[16];
  const bool group = intf >> 28 == 1;
  std::snprintf(text, sizeof text, group ? "Ag%u" : "Gi%u", group ? intf - group_mark : intf);
  return text;
}

int strtoip6(const char* text, uint8_t ip6[16]) {
  char address[INET6_ADDRSTRLEN];
  const size_t length = std::strcspn(text, "/");
  if (length >= sizeof address) return -1;
  std::memcpy(address, text, length);
  address[length] = '\0';
  return inet_pton(AF_INET6, address, ip6) == 1 ? 0 : -1;
}

uint16_t cksum(const void* buf, int len) {
  const auto* bytes = static_cast<const uint8_t*>(buf);
  const size_t size = len > 0 ? static_cast<size_t>(len) : 0;
  return static_cast<uint16_t>(~dhcp::softswitch::ones_sum({bytes, size}));
}

int get_tmp_file_name(int /*kind*/, char* path, int /*a*/, int /*b*/) {
  const char* directory = std::getenv("TMPDIR");
  if (directory == nullptr || *directory == '\0') directory = "/tmp";
  const int length = std::snprintf(path, path_room, "%s/softswitch-XXXXXX", directory);
  if (length < 0 || static_cast<size_t>(length) >= path_room) return -1;
  const int fd = mkstemp(path);
  if (fd < 0) return -1;
  close(fd);
  return 0;
}
