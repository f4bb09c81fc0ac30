/* The smallest host: loads the module, gives its server a pool, hands it one DISCOVER and shows the OFFER. */
#include <stdio.h>
#include <string.h>

#include "device.h"
#include "dhcp/module.h"
#include "dhcp/packet.h"
#include "dhcp/server.h"

enum {
  POOL = 1,
  CLIENT_PORT = 1,
  LEASE_S = 3600,
  TAGGED_HEADERS = 18 + 20 + 8, /* Ethernet with a tag, IPv4, UDP */
  FIXED = 240,                  /* a DHCP message up to and including its cookie (RFC 2131 section 2) */
  OPTIONS = 308,                /* what __get_option() looks through */
  OPTION_ROUTER = 3,
  OPTION_LEASE = 51,
  OPTION_TYPE = 53,
  OPTION_SERVER = 54,
  DISCOVER = 1,
  OFFER = 2
};

static const uint8_t client_mac[6] = {0x02, 0, 0, 0, 0x0a, 0x01};

static void put16(uint8_t* at, unsigned value) {
  at[0] = (uint8_t)(value >> 8);
  at[1] = (uint8_t)value;
}

static unsigned long get32(const uint8_t* at) {
  return (unsigned long)at[0] << 24 | (unsigned long)at[1] << 16 | (unsigned long)at[2] << 8 | at[3];
}

static size_t make_discover(uint8_t frame[EXAMPLE_FRAME_ROOM]) {
  static const uint8_t cookie_and_options[] = {99, 130, 83, 99, OPTION_TYPE, 1, DISCOVER, 55, 1, OPTION_ROUTER, 255};
  const size_t message = FIXED - 4 + sizeof cookie_and_options;
  uint8_t *const ip = frame + 18, *const udp = ip + 20, *const dhcp = udp + 8;
  memset(frame, 0, EXAMPLE_FRAME_ROOM);
  memset(frame, 0xff, 6);
  memcpy(frame + 6, client_mac, 6);
  put16(frame + 12, 0x8100);
  put16(frame + 14, EXAMPLE_VLAN);
  put16(frame + 16, 0x0800);
  ip[0] = 0x45;
  put16(ip + 2, (unsigned)(20 + 8 + message));
  ip[8] = 64; /* TTL */
  ip[9] = 17;
  memset(ip + 16, 0xff, 4);
  put16(ip + 10, (unsigned)(uint16_t)check_sum(ip, 20));
  put16(udp, 68);
  put16(udp + 2, 67);
  put16(udp + 4, (unsigned)(8 + message)); /* without a checksum, which IPv4 allows */
  dhcp[0] = dhcp[1] = 1;
  dhcp[2] = 6;
  memcpy(dhcp + 4, "\x12\x34\x56\x78", 4);
  memcpy(dhcp + 28, client_mac, 6);
  memcpy(dhcp + FIXED - 4, cookie_and_options, sizeof cookie_and_options);
  return TAGGED_HEADERS + message;
}

static int configure(void) {
  const uint32_t router = EXAMPLE_ADDRESS;
  return dhcp_server_create_pool_entry(POOL) != 0 ||
         dhcp_server_set_pool_network(POOL, EXAMPLE_ADDRESS & EXAMPLE_NETMASK, EXAMPLE_NETMASK, EXAMPLE_ADDRESS + 9,
                                      EXAMPLE_ADDRESS + 98) != 0 ||
         dhcp_server_set_pool_lease(POOL, LEASE_S) != 0 || dhcp_server_set_router(POOL, &router, 1) != 0 ||
         dhcp_server_start_stop(1) != 0;
}

static void show_address_option(const char* what, uint8_t* message, int code) {
  const uint8_t* value = __get_option(message, code);
  printf("  %-7s %s\n", what, value == NULL ? "none" : util_ip2str((uint32_t)get32(value)));
}

/* 0 when the frame is an OFFER to our client. */
static int show(const uint8_t* frame, size_t length) {
  uint8_t message[FIXED + OPTIONS] = {0};
  if (length < TAGGED_HEADERS + FIXED || length - TAGGED_HEADERS > sizeof message) return 1;
  memcpy(message, frame + TAGGED_HEADERS, length - TAGGED_HEADERS);
  const uint8_t *type = __get_option(message, OPTION_TYPE), *lease = __get_option(message, OPTION_LEASE);
  if (type == NULL || *type != OFFER || lease == NULL || memcmp(message + 28, client_mac, 6) != 0) return 1;
  printf("OFFER in VLAN %u, transaction %08lx\n", (frame[14] & 15U) << 8 | frame[15], get32(message + 4));
  printf("  %-7s %s\n", "address", util_ip2str((uint32_t)get32(message + 16)));
  printf("  %-7s %lu s\n", "lease", get32(lease));
  show_address_option("server", message, OPTION_SERVER);
  show_address_option("router", message, OPTION_ROUTER);
  return 0;
}

static int serve_one_client(void) {
  uint8_t frame[EXAMPLE_FRAME_ROOM];
  if (configure() != 0) return fputs("minimal: the pool is refused\n", stderr), 1;
  if (example_receive(CLIENT_PORT, frame, make_discover(frame)) != 0)
    return fputs("minimal: the queue takes no frame\n", stderr), 1;
  const size_t length = example_sent(frame, 5);
  if (length == 0) return fputs("minimal: no answer\n", stderr), 1;
  if (show(frame, length) != 0) return fputs("minimal: the answer is no OFFER\n", stderr), 1;
  return 0;
}

int main(void) {
  if (example_network() != 0) return perror("minimal: a network of its own"), 1;
  if (dhcp_module_init() != 0) return fputs("minimal: the module does not start\n", stderr), 1;
  dhcp_module_start();
  const int status = serve_one_client();
  dhcp_module_stop();
  return status;
}
