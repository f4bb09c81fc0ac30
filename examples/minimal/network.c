/* The module asks Linux for the address and the MAC of its interfaces, eth0.<vlan>. A device has them; here the
   loopback of a new network namespace takes the part, so that nothing of the machine's own network is touched. */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <sched.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "device.h"

#define INTERFACE "eth0.10" /* of EXAMPLE_VLAN */

static int rename_loopback(int asking) {
  struct ifreq request = {.ifr_name = "lo", .ifr_newname = INTERFACE};
  return ioctl(asking, SIOCSIFNAME, &request);
}

static int set_mac(int asking) {
  struct ifreq request = {.ifr_name = INTERFACE, .ifr_hwaddr.sa_family = ARPHRD_LOOPBACK};
  memcpy(request.ifr_hwaddr.sa_data, example_mac, sizeof example_mac);
  return ioctl(asking, SIOCSIFHWADDR, &request);
}

static int set_address(int asking, unsigned long what, uint32_t address) {
  const struct sockaddr_in in = {.sin_family = AF_INET, .sin_addr.s_addr = htonl(address)};
  struct ifreq request = {.ifr_name = INTERFACE};
  memcpy(&request.ifr_addr, &in, sizeof in);
  return ioctl(asking, what, &request);
}

static int switch_on(int asking) {
  struct ifreq request = {.ifr_name = INTERFACE, .ifr_flags = IFF_UP};
  return ioctl(asking, SIOCSIFFLAGS, &request);
}

int example_network(void) {
  if (if_nametoindex(INTERFACE) != 0) return 0; /* as on a device */
  if (unshare(geteuid() == 0 ? CLONE_NEWNET : CLONE_NEWUSER | CLONE_NEWNET) != 0) return -1;
  const int asking = socket(AF_INET, SOCK_DGRAM, 0);
  if (asking < 0) return -1;
  const int failed = rename_loopback(asking) != 0 || set_mac(asking) != 0 || switch_on(asking) != 0 ||
                     set_address(asking, SIOCSIFADDR, EXAMPLE_ADDRESS) != 0 || /* in the place of 127.0.0.1 */
                     set_address(asking, SIOCSIFNETMASK, EXAMPLE_NETMASK) != 0;
  close(asking);
  return failed ? -1 : 0;
}
