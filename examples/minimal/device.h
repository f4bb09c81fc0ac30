/* What the example's device adds to the calls of platform/: frames in, frames out, and the one VLAN that it has. */
#ifndef EXAMPLE_DEVICE_H
#define EXAMPLE_DEVICE_H

#include <stddef.h>
#include <stdint.h>

enum {
  EXAMPLE_PORTS = 4,
  EXAMPLE_VLAN = 10,
  EXAMPLE_ADDRESS = 0xC0A80A01, /* 192.168.10.1 */
  EXAMPLE_NETMASK = 0xFFFFFF00,
  EXAMPLE_FRAME_ROOM = 1600
};

extern const uint8_t example_mac[6];

/* Where there is no interface eth0.10, as a device has one: makes a network of the process's own with one. 0 or -1. */
int example_network(void);

/* A tagged frame has come in at `port`: puts it into the module's event queue. 0, or -1 when the queue is full. */
int example_receive(uint32_t port, const uint8_t* frame, size_t length);

/* Waits for a frame that the module sends; its length, or 0 when none came within `seconds`. */
size_t example_sent(uint8_t frame[EXAMPLE_FRAME_ROOM], int seconds);

#endif
