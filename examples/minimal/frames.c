/* Frames of platform/adp.h: a received one is a block with room to grow, a sent one goes to whoever waits for it. */
#include <pthread.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "device.h"
#include "platform/adp.h"
#include "queue.h"

enum { TAG_OFFSET = 12, IP_OFFSET = 18, PROTOCOL = IP_OFFSET + 9, UDP = 17, TYPE_IPV4 = 0x0800 };

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
static uint8_t last_sent[EXAMPLE_FRAME_ROOM];
static size_t last_length;

static unsigned be16(const uint8_t* at) { return (unsigned)at[0] << 8 | at[1]; }

int example_receive(uint32_t port, const uint8_t* frame, size_t length) {
  struct skpack* skp = calloc(1, sizeof *skp + EXAMPLE_FRAME_ROOM);
  if (skp == NULL || length > EXAMPLE_FRAME_ROOM) {
    free(skp);
    return -1;
  }
  skp->users = 1;
  skp->head = skp->data = (uint8_t*)(skp + 1);
  skp->psize = (uint32_t)length;
  skp->in_intf = port;
  memcpy(skp->data, frame, length);
  const struct DhcpEvent event = {.type = EVENT_IPV4_FRAME, .data = skp};
  if (example_post(&event) == 0) return 0;
  skpack_release(skp);
  return -1;
}

/* The module checks every length again; here it is enough that the headers lie inside the frame. */
int __adp_receive_frame(struct skpack* skp, int flag) {
  (void)flag;
  if (skp->psize <= PROTOCOL || be16(skp->data + IP_OFFSET - 2) != TYPE_IPV4 || skp->data[PROTOCOL] != UDP) return -1;
  const size_t udp = IP_OFFSET + (size_t)(skp->data[IP_OFFSET] & 15) * 4;
  if (skp->psize < udp + 8) return -1;
  skp->vlan_tag = skp->data + TAG_OFFSET;
  skp->ip_hdr = skp->data + IP_OFFSET;
  skp->ud_hdr = skp->upper = skp->data + udp;
  return 0;
}

int __adp_transmit_frame(struct skpack* skp, struct intf_order_list* ports, uint32_t vlan, int mode) {
  (void)ports, (void)vlan, (void)mode; /* a switch looks at them; whoever waits here takes everything */
  if (skp->psize > sizeof last_sent) return -1;
  pthread_mutex_lock(&lock);
  memcpy(last_sent, skp->data, skp->psize);
  last_length = skp->psize;
  pthread_cond_signal(&changed);
  pthread_mutex_unlock(&lock);
  return 0;
}

size_t example_sent(uint8_t frame[EXAMPLE_FRAME_ROOM], int seconds) {
  struct timespec end;
  clock_gettime(CLOCK_REALTIME, &end);
  end.tv_sec += seconds;
  pthread_mutex_lock(&lock);
  while (last_length == 0 && pthread_cond_timedwait(&changed, &lock, &end) == 0) {
  }
  const size_t length = last_length;
  memcpy(frame, last_sent, length);
  last_length = 0;
  pthread_mutex_unlock(&lock);
  return length;
}

void skpack_release(struct skpack* skp) { free(skp); }
