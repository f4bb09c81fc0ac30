/// Text helpers, checksum, temporary files.
#include "platform/text.h"

#include <arpa/inet.h>

#include <cstdio>
#include <cstdlib>

#include "tests/fake/device.h"

char* onu_mac2str(const uint8_t mac[6], char text[18]) {
  snprintf(text, 18, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
  return text;
}

int onu_str2mac(const char* text, uint8_t mac[6]) {
  return sscanf(text, "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx", &mac[0], &mac[1], &mac[2], &mac[3], &mac[4], &mac[5]) == 6 ? 0
                                                                                                                  : -1;
}

const char* str_enable(int on) { return on != 0 ? "enable" : "disable"; }

const char* str_intf_id(uint32_t intf) {
  static thread_local char text[16];
  snprintf(text, sizeof text, "%s%u", intf >> 28 == 1 ? "Ag" : "Gi", intf & 0x0fffffff);
  return text;
}

int strtoip6(const char* text, uint8_t ip6[16]) {
  const std::string address(text);
  return inet_pton(AF_INET6, address.substr(0, address.find('/')).c_str(), ip6) == 1 ? 0 : -1;
}

uint16_t cksum(const void* buf, int len) {
  const auto* bytes = static_cast<const uint8_t*>(buf);
  uint32_t sum = 0;
  for (int i = 0; i < len; ++i) sum += i % 2 == 0 ? static_cast<uint32_t>(bytes[i]) << 8 : bytes[i];
  while (sum > 0xffff) sum = (sum >> 16) + (sum & 0xffff);
  return static_cast<uint16_t>(~sum);
}

int get_tmp_file_name(int kind, char* path, int a, int b) {
  fake::Device& device = fake::device();
  if (device.temp_files_cannot_be_made) return snprintf(path, 128, "/nonexistent/%d", kind);
  return snprintf(path, 128, "%s/%d_%d_%d", device.temp_directory().c_str(), kind, a, b);
}
