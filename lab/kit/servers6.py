"""Stock DHCPv6 servers as black boxes in their hosts' namespaces."""
import json

from kit.ip6 import speaks_ip6
from kit.sandbox import HERE
from kit.servers import Dnsmasq, Server


class Server6(Server):
    """A process at a host that gets `address` in a /64 and a link-local one."""

    def __init__(self, host, address):  # not super's: that gives an IPv4 address
        self.host, self.address = host, address
        self.log = f"{HERE}/{host.name}.{type(self).__name__.lower()}.log"
        self.leases = f"{HERE}/{host.name}.leases6"
        self.process = None
        speaks_ip6(host, address)


class Dnsmasq6(Server6, Dnsmasq):
    ready = "DHCPv6, (sockets bound|IP range)"

    def __init__(self, host, address, first, last, *more, lease="1h"):
        Server6.__init__(self, host, address)
        self.range, self.more = f"{first},{last},64,{lease}", more


class Kea6(Server6):
    """Leases from `pool` of `network`, to relays too; `times` = T1, T2, preferred and valid lifetime in seconds."""

    ready = "DHCP6_STARTED"

    def __init__(self, host, address, network, pool, times, dns=()):
        super().__init__(host, address)
        self.config = f"{HERE}/{host.name}.kea6.json"
        subnets = [{"id": 1, "subnet": network, "interface": host.name, "pools": [{"pool": pool}],
                    "option-data": [{"name": "dns-servers", "data": ", ".join(dns)}] if dns else []}]
        t1, t2, preferred, valid = times
        with open(self.config, "w", encoding="utf-8") as file:
            json.dump({"Dhcp6": {
                "interfaces-config": {"interfaces": [host.name, f"{host.name}/{address}"]},
                "server-id": {"type": "EN", "enterprise-id": 2495, "identifier": "4c4142", "persist": False},
                "lease-database": {"type": "memfile", "persist": False},
                "renew-timer": t1, "rebind-timer": t2, "preferred-lifetime": preferred, "valid-lifetime": valid,
                "subnet6": subnets,
                "loggers": [{"name": "kea-dhcp6", "severity": "INFO", "output_options": [{"output": "stdout"}]}]}}, file)

    def words(self):
        return ["kea-dhcp6", "-c", self.config]


class Dhcrelay6(Server6):
    """A further relay: of what comes in at `below` to the switch, and back."""

    ready = "Sending on .*"

    def __init__(self, host, address, below):
        super().__init__(host, address)
        self.below = below

    def words(self):
        return ["dhcrelay", "-6", "-d", "--no-pid", "-l", self.below, "-u", self.host.name]

    def hears_at(self, port):
        """Has the host redirect to it what comes from the switch to this port."""
        self.host.net.run("nft", "add table ip6 lab;"
                          "add chain ip6 lab in { type nat hook prerouting priority dstnat; };"
                          f"add rule ip6 lab in iifname {self.host.name} udp dport {port} redirect to :547")
