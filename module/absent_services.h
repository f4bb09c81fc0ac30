/// Services that this build does not carry yet: their frames pass them by.
#pragma once

struct skpack;

int dhcp6_server_packet_process(skpack* skp);
