"""What the load is put on: the soft switch, and general-purpose servers and relays as black boxes for scale."""
import json
import os
import subprocess
import time

from kit.sandbox import HERE, run
from kit.switch import Switch

SWITCH_CONFIG = """\
interface gigabitethernet 1
 device sw1
 switchport access vlan 10
interface vlan 10
 ip address 10.9.0.1 255.255.252.0
ip dhcp pool 1
 network 10.9.0.0 255.255.252.0 10.9.0.10 10.9.1.253
 default-router 10.9.0.1
 dns-server 10.9.0.1
 domain-name bench.example
ip dhcp-server
end
"""

# Clients on port 1, the server on port 2. Without snooping the switch forwards DHCP like anything else.
BETWEEN_CONFIG = """\
interface gigabitethernet 1
 device sw1
 switchport access vlan 10
interface gigabitethernet 2
 device sw2
 switchport access vlan 10
 ip dhcp snooping trust
interface vlan 10
 ip address 10.255.0.1 255.0.0.0
"""
SNOOPING = {"off": "", "on": "ip dhcp snooping\nip dhcp snooping vlan 10\n"}
SNOOPING["on, with option 82"] = SNOOPING["on"] + "ip dhcp snooping information option\n"

# Clients and the server in a network each, the relay in both.
RELAY_IN_CLIENTS, RELAY_IN_SERVERS, RELAYED_SERVER = "10.1.255.254", "10.0.0.2", "10.0.0.1"
RELAY_CONFIG = f"""\
interface gigabitethernet 1
 device sw1
 switchport access vlan 10
interface gigabitethernet 2
 device sw2
 switchport access vlan 20
interface vlan 10
 ip address {RELAY_IN_CLIENTS} 255.255.0.0
interface vlan 20
 ip address {RELAY_IN_SERVERS} 255.255.255.0
service dhcp-relay management-vlan
ip helper-address {RELAYED_SERVER}
end
"""

KEA_CONFIG = {"Dhcp4": {
    "interfaces-config": {"interfaces": ["sw1"], "dhcp-socket-type": "raw"},
    "lease-database": {"type": "memfile", "persist": False},
    "valid-lifetime": 86400,
    "subnet4": [{"subnet": "10.9.0.0/22", "pools": [{"pool": "10.9.0.10 - 10.9.3.200"}],
                 "option-data": [{"name": "routers", "data": "10.9.0.1"},
                                 {"name": "domain-name-servers", "data": "10.9.0.1"}]}],
    "loggers": [{"name": "kea-dhcp4", "severity": "FATAL", "output_options": [{"output": "/dev/null"}]}]}}


ISC_CONFIG = """\
authoritative; ping-check false; default-lease-time 86400;
subnet 10.9.0.0 netmask 255.255.252.0 {
  range 10.9.0.10 10.9.3.200; option routers 10.9.0.1; option domain-name-servers 10.9.0.1;
}
"""


class SoftSwitch:
    """The product: an access port on the cable, one pool on its VLAN."""
    name, program, load = "soft switch", "unshare", ()
    perfdhcp_port = "68"  # replies go to port 68, to relays as well
    config = SWITCH_CONFIG

    def start(self):
        self.switch = Switch(f"{HERE}/build", 6)
        self.switch.start(self.config)
        return self.switch.process

    def stop(self):
        self.switch.stop()


class Stock:
    """A general-purpose server that answers on the kernel's interface at the same end of the cable."""
    perfdhcp_port, load = "67", ()
    addresses = (("10.9.0.1/22", "sw1"),)

    def start(self):
        for address, device in self.addresses:
            run("ip", "address", "add", address, "dev", device)
        with open(f"{HERE}/stock.log", "w", encoding="utf-8") as log:
            self.process = subprocess.Popen(self.command(), stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                            env=dict(os.environ, KEA_LOCKFILE_DIR=HERE, KEA_PIDFILE_DIR=HERE))
        time.sleep(2)
        if self.process.poll() is not None:
            with open(f"{HERE}/stock.log", encoding="utf-8") as log:
                raise RuntimeError(f"{self.name} did not start: {log.read()[-500:]}")
        return self.process

    def stop(self):
        self.process.terminate()
        self.process.wait(15)


class Dnsmasq(Stock):
    name, program = "dnsmasq", "dnsmasq"

    def command(self):
        if os.path.exists(f"{HERE}/leases"):
            os.remove(f"{HERE}/leases")
        return ["dnsmasq", "--no-daemon", "--user=root", "--conf-file=/dev/null", "--port=0", "--interface=sw1",
                "--bind-interfaces", "--dhcp-range=10.9.0.10,10.9.3.200,24h", f"--dhcp-leasefile={HERE}/leases",
                "--dhcp-authoritative", "--no-ping", "--dhcp-lease-max=1000", "--quiet-dhcp", "--log-facility=-"]


class Kea(Stock):
    name, program = "kea-dhcp4", "kea-dhcp4"

    def command(self):
        with open(f"{HERE}/kea.json", "w", encoding="utf-8") as file:
            json.dump(KEA_CONFIG, file)
        return ["kea-dhcp4", "-c", f"{HERE}/kea.json"]


class Isc(Stock):
    name, program = "isc-dhcp-server", "dhcpd"
    family = "-4"

    def command(self):
        with open(f"{HERE}/dhcpd.conf", "w", encoding="ascii") as file:
            file.write(self.config)
        with open(f"{HERE}/leases", "w", encoding="ascii"):
            pass
        return ["dhcpd", self.family, "-f", "-q", "--no-pid", "-cf", f"{HERE}/dhcpd.conf", "-lf", f"{HERE}/leases", "sw1"]

    config = ISC_CONFIG


class SoftSwitchRelay(SoftSwitch):
    """The product as a relay: it adds option 82 to every request and knows its server's MAC by asking."""
    config = RELAY_CONFIG


class StockRelay(Stock):
    """A general-purpose relay on the kernel's interfaces."""
    addresses = ((f"{RELAY_IN_CLIENTS}/16", "sw1"), (f"{RELAY_IN_SERVERS}/24", "sw2"))


class IscRelay(StockRelay):
    name, program = "isc-dhcp-relay", "dhcrelay"

    def command(self):
        return ["dhcrelay", "-4", "-d", "-q", "--no-pid", "-id", "sw1", "-iu", "sw2", RELAYED_SERVER]


class DnsmasqRelay(StockRelay):
    name, program = "dnsmasq", "dnsmasq"

    def command(self):
        return ["dnsmasq", "--no-daemon", "--user=root", "--conf-file=/dev/null", "--port=0", "--quiet-dhcp",
                f"--dhcp-relay={RELAY_IN_CLIENTS},{RELAYED_SERVER}", "--log-facility=-"]


# DHCPv6.

SWITCH6_CONFIG = """\
interface gigabitethernet 1
 device sw1
 switchport access vlan 10
interface vlan 10
 ipv6 address 2001:db8:9::1/64
service dhcpv6-server
ipv6 dhcp pool 1
 network-address 2001:db8:9::10 2001:db8:9::ffff
 lifetime 43200 86400
 dns-server 2001:db8:9::1
 domain-name bench.example
 exit
end
"""

RELAY6_IN_CLIENTS, RELAY6_IN_SERVERS, RELAYED6_SERVER = "fd00:0:0:10::ffff", "fd00:0:0:20::2", "fd00:0:0:20::1"
RELAY6_CONFIG = f"""\
interface gigabitethernet 1
 device sw1
 switchport access vlan 10
interface gigabitethernet 2
 device sw2
 switchport access vlan 20
interface vlan 10
 ipv6 address {RELAY6_IN_CLIENTS}/64
interface vlan 20
 ipv6 address {RELAY6_IN_SERVERS}/64
service dhcpv6-relay
ipv6 dhcp relay destination {RELAYED6_SERVER}
end
"""

KEA6_CONFIG = {"Dhcp6": {
    "interfaces-config": {"interfaces": ["sw1"]},
    "server-id": {"type": "EN", "enterprise-id": 2495, "identifier": "4c4142", "persist": False},
    "lease-database": {"type": "memfile", "persist": False},
    "preferred-lifetime": 43200, "valid-lifetime": 86400,
    "subnet6": [{"subnet": "2001:db8:9::/64", "interface": "sw1", "pools": [{"pool": "2001:db8:9::10 - 2001:db8:9::ffff"}],
                 "option-data": [{"name": "dns-servers", "data": "2001:db8:9::1"}]}],
    "loggers": [{"name": "kea-dhcp6", "severity": "FATAL", "output_options": [{"output": "/dev/null"}]}]}}

ISC6_CONFIG = """\
authoritative; default-lease-time 86400; preferred-lifetime 43200;
subnet6 2001:db8:9::/64 { range6 2001:db8:9::10 2001:db8:9::ffff; option dhcp6.name-servers 2001:db8:9::1; }
"""


class SoftSwitch6(SoftSwitch):
    load, config = ("--ipv6",), SWITCH6_CONFIG


class SoftSwitchRelay6(SoftSwitch):
    """Every request goes on inside a Relay-forward to a destination whose MAC the switch has asked for."""
    load, config = ("--ipv6",), RELAY6_CONFIG


class OnIp6:
    """Interfaces with a link-local address, addresses that are there at once, and every client's MAC known beforehand:
    to find one out takes some of these programs the better part of a second."""
    load = ("--ipv6",)
    addresses = (("2001:db8:9::1/64", "sw1"),)

    def start(self):
        for name in {device for _, device in self.addresses}:
            with open(f"/proc/sys/net/ipv6/conf/{name}/accept_dad", "w", encoding="ascii") as file:
                file.write("0")
            run("ip", "link", "set", name, "addrgenmode", "eui64")
            run("ip", "link", "set", name, "down")
            run("ip", "link", "set", name, "up")
        hosts = "".join(f"neighbour replace fe80::be:4cff:fe{high:02x}:{low:x} lladdr 02:be:4c:{high:02x}:{low >> 8:02x}:"
                        f"{low & 255:02x} dev sw1 nud permanent\n" for high, low in (divmod(n, 1 << 16) for n in range(400)))
        subprocess.run(["ip", "-6", "-batch", "-"], input=hosts, text=True, check=True)
        return super().start()


class Dnsmasq6(OnIp6, Dnsmasq):
    def command(self):
        words = [word for word in super().command() if not word.startswith("--dhcp-range")]
        return words + ["--dhcp-range=2001:db8:9::10,2001:db8:9::ffff,64,24h"]


class Kea6(OnIp6, Stock):
    name, program = "kea-dhcp6", "kea-dhcp6"

    def command(self):
        with open(f"{HERE}/kea6.json", "w", encoding="utf-8") as file:
            json.dump(KEA6_CONFIG, file)
        return ["kea-dhcp6", "-c", f"{HERE}/kea6.json"]


class Isc6(OnIp6, Isc):
    family, config = "-6", ISC6_CONFIG


class StockRelay6(OnIp6, Stock):
    addresses = ((f"{RELAY6_IN_CLIENTS}/64", "sw1"), (f"{RELAY6_IN_SERVERS}/64", "sw2"))


class IscRelay6(StockRelay6):
    name, program = "isc-dhcp-relay", "dhcrelay"

    def command(self):
        return ["dhcrelay", "-6", "-d", "-q", "--no-pid", "-l", "sw1", "-u", f"{RELAYED6_SERVER}%sw2"]


class DnsmasqRelay6(StockRelay6):
    name, program = "dnsmasq", "dnsmasq"

    def command(self):
        return ["dnsmasq", "--no-daemon", "--user=root", "--conf-file=/dev/null", "--port=0", "--quiet-dhcp",
                f"--dhcp-relay={RELAY6_IN_CLIENTS},{RELAYED6_SERVER}", "--log-facility=-"]


SERVERS = SoftSwitch, Dnsmasq, Kea, Isc
RELAYS = SoftSwitchRelay, IscRelay, DnsmasqRelay
SERVERS6 = SoftSwitch6, Dnsmasq6, Kea6, Isc6
RELAYS6 = SoftSwitchRelay6, IscRelay6, DnsmasqRelay6
