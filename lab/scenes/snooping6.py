"""DHCPv6 behind snooping and source guard: a rogue server, a client that moves, hosts that lie, a restart."""
import glob
import os
import re

from kit.clients6 import Dhclient6, Dhcpcd6
from kit.dhcp6 import ADVERTISE, RENEW, REPLY, REQUEST, SOLICIT, Crafted6, Message, is_dhcp6, sent_by
from kit.ip6 import link_local
from kit.scene import Port, steps_of
from kit.servers6 import Dnsmasq6, Kea6
from kit.switch import STATE
from scapy.layers.dhcp6 import DHCP6_Advertise, DHCP6_Reply, DHCP6OptIA_NA, DHCP6OptIAAddress
from scapy.layers.inet import UDP
from scapy.layers.inet6 import IPv6
from scapy.layers.l2 import Ether

TITLE = "An IPv6 network with a rogue DHCPv6 server"
PORTS = [
    Port(1, "alice", "10"),  # runs dhclient
    Port(2, "bob", "10"),    # runs dhcpcd
    Port(3, "carl", "10"),   # crafted clients
    Port(4, "serv", "10"),   # runs the real server, a dnsmasq and later a kea
    Port(5, "rogue", "10"),  # runs another dnsmasq
]
CONFIG = "vlan 5-7,10"
SNOOPING = ("configure", "ipv6 dhcp snooping", "ipv6 dhcp snooping vlan 5-7,10",
            "ipv6 dhcp snooping database write-delay 3600",
            "interface gigabitethernet 4", "ipv6 dhcp snooping trust",
            "interface gigabitethernet 1", "ipv6 verify source",
            "interface gigabitethernet 2", "ipv6 verify source",
            "interface gigabitethernet 3", "ipv6 verify source",
            "interface gigabitethernet 6", "ipv6 dhcp snooping suppression",
            "ipv6 dhcp snooping binding mac 02:00:00:00:06:77 vlan 7 expiry 86400",
            f"ipv6 dhcp snooping dhcpserver {link_local('02:00:00:00:04:01')}")
NETWORK, SERVER = "2001:db8:10:", "2001:db8:10::1"
MOVER_MAC, STRANGER_MAC = "02:00:00:00:03:10", "02:00:00:00:03:99"
LEASE = "3600"
GUARD = "ipv6 verify source"
FILE = f"{STATE}/dhcp6_snoop_table.ini"
STEPS, step = steps_of()


def passes(lab, host, ip, mac=None):
    """Whether what the host sends with this address and MAC arrives at the server."""
    return lab.speaker(host, ip, mac).reaches(lab.hosts["serv"], SERVER)


def answered(lab, name):
    return lab.speaker(name, lab.kept["held"][name]).answered(lab.hosts["serv"], SERVER)


def bound(lab):
    """The rows of the table that a restart keeps."""
    return {mac: row for mac, row in lab.switch.snooped("ipv6").items() if row[5] == "bound"}


def known(lab, mac):
    """Address, VLAN and port of a client."""
    return lab.switch.snooped("ipv6")[mac][:3]


def crafted(lab, host, mac):
    return Crafted6(lab.wire, lab.hosts[host], mac)


def of_rogue(lab, mark, at):
    """What the rogue sent to clients, as one host saw it."""
    return [message.kind for message in sent_by(lab, mark, lab.hosts["rogue"].mac, (ADVERTISE, REPLY), at)]


def stopped(lab):
    """Messages of servers that the chip counted on untrusted ports."""
    return int(re.search(r"by chip : (\d+)", lab.switch.cli("show ipv6 dhcp snooping")).group(1))


def forged(kind, host, client, address):
    """A server's message to a client as the host sends it, without anybody having asked."""
    lease = DHCP6OptIAAddress(addr=address, preflft=3600, validlft=3600)
    return bytes(Ether(src=host.mac, dst=client.mac) / IPv6(src=link_local(host.mac), dst=link_local(client.mac)) /
                 UDP(sport=547, dport=546) / kind(trid=client.xid) / DHCP6OptIA_NA(iaid=1, ianaopts=[lease]))


def at_server(lab, client, mark, seconds=3):
    """The client's last message as it comes out at the server."""
    return lab.wire.wait(mark, lambda frame: frame.from_switch and frame.host == "serv" and is_dhcp6(frame.data) and
                         Message(frame).xid == client.xid, seconds)


def forget(client):
    """Ends a stock client without a word to the server; the address and the lease are gone."""
    client.process.kill()
    client.process.wait(10)
    client.host.net.run("ip", "-6", "address", "flush", "dev", client.host.name, "scope", "global")
    for path in glob.glob(f"/var/lib/dhc*/*{client.host.name}*"):
        os.unlink(path)


def fates(lab):
    """(port, fate) -> counts by message type, of those in the table."""
    lines = lab.switch.cli("show ipv6 dhcp snooping statistics").splitlines()
    types = re.split(r"\s{2,}", lines[0].strip())[2:]
    rows = [re.split(r"\s{2,}", line.strip()) for line in lines[2:] if line.strip()]
    return {(row[0], row[1]): dict(zip(types, map(int, row[2:]))) for row in rows}


def hold(lab):
    """alice and bob get addresses, and the table says so."""
    lab.kept["alice"], lab.kept["bob"] = Dhclient6(lab.hosts["alice"]), Dhcpcd6(lab.hosts["bob"])
    held = lab.kept["held"] = {name: lab.kept[name].bind() for name in ("alice", "bob")}
    lab.say(held)
    for name, address in held.items():
        lab.expect_that(f"{name}'s {address} is one of the real server's", address.startswith(NETWORK))
    lab.show("show ipv6 dhcp snooping binding")
    table = lab.switch.snooped("ipv6")
    for name, port in (("alice", "Gi1"), ("bob", "Gi2")):
        lab.expect(f"{name}'s row", table[lab.hosts[name].mac],
                   (held[name], 10, port, LEASE, "dynamic", "bound"))


@step("two servers in one network: without snooping, the rogue is heard")
def without(lab):
    lab.switch.start(lab.config())
    serv, rogue = lab.hosts["serv"], lab.hosts["rogue"]
    lab.kept["server"] = Dnsmasq6(serv, SERVER, "2001:db8:10::100", "2001:db8:10::1ff").begin()
    Dnsmasq6(rogue, "2001:db8:66::1", "2001:db8:66::100", "2001:db8:66::1ff").begin()
    for host in (serv, rogue):  # nobody answers for the crafted client
        host.knows(link_local(MOVER_MAC), MOVER_MAC)
    mark = lab.wire.now()
    crafted(lab, "carl", MOVER_MAC).send(SOLICIT)
    lab.wait_until(lambda: ADVERTISE in of_rogue(lab, mark, "carl"), 5, "the rogue's ADVERTISE")


@step("with snooping, guarded ports and a trusted one, nobody has an address of his own choice")
def turn_on(lab):
    lab.switch.cli(*SNOOPING)
    lab.kept["mark"] = lab.wire.now()
    lab.show("show running-config | include ipv6", "show ipv6 dhcp snooping")
    lab.expect("alice gets through with an address of her choice", passes(lab, "alice", "2001:db8:10::100"), False)
    lab.expect("with her link-local address", passes(lab, "alice", link_local(lab.hosts["alice"].mac)), False)


@step("dhclient and dhcpcd hold addresses of the real server; MAC, address, VLAN, port and lifetime are known")
def clients(lab):
    hold(lab)
    for name in ("alice", "bob"):
        lab.expect(f"{name}'s ping is answered", answered(lab, name), True)
    lab.expect("alice's link-local address, now that she is known", passes(lab, "alice", link_local(lab.hosts["alice"].mac)),
               True)


@step("the rogue answered, and the chip kept that from everybody, snooping included")
def rogue(lab):
    mark, alice, before = lab.kept["mark"], crafted(lab, "alice", lab.hosts["alice"].mac), bound(lab)
    sent = of_rogue(lab, mark, "rogue").count(ADVERTISE)
    lab.expect_that(f"it sent {sent} ADVERTISEs", sent > 0)
    for kind in (DHCP6_Advertise, DHCP6_Reply):
        lab.hosts["rogue"].send(forged(kind, lab.hosts["rogue"], alice, "2001:db8:66::7"))
    answer = crafted(lab, "carl", MOVER_MAC).ask(SOLICIT)
    lab.expect("carl, who asks afterwards, hears", answer.mac_from, lab.hosts["serv"].mac)
    lab.wait_until(lambda: stopped(lab) == len(of_rogue(lab, mark, "rogue")), 3, "all of them to be counted by the chip")
    lab.expect_that(f"the chip stopped {stopped(lab)} messages, as many as it sent", stopped(lab) > 2)
    for port in PORTS[:4]:
        lab.expect(f"messages of the rogue at {port.host}", of_rogue(lab, mark, port.host), [])
    lab.show("show ipv6 dhcp snooping statistics")
    lab.expect("fates of messages on the rogue's port", [fate for port, fate in fates(lab) if port == "Gi5"], [])
    lab.expect_that("the table is as before", bound(lab) == before)


@step("a RENEW of a client that nobody knows goes nowhere")
def unknown(lab):
    stranger = crafted(lab, "carl", STRANGER_MAC)
    stranger.server = stranger.duid  # whoever that is
    mark = stranger.send(RENEW, "2001:db8:10::150", server=True)
    lab.wait_until(lambda: fates(lab).get(("Gi3", "no binding"), {}).get("RENEW") == 1, 3, "the RENEW to be counted")
    lab.expect("at the server", at_server(lab, stranger, mark, seconds=0), None)


@step("another source address, another MAC, another port: nothing passes, and each is counted")
def liars(lab):
    alice, address = lab.hosts["alice"].mac, lab.kept["held"]["alice"]
    lies = (("alice with bob's address", "Gi1", "unknown", ("alice", lab.kept["held"]["bob"])),
            ("alice with an address nobody has", "Gi1", "unknown", ("alice", "2001:db8:10::99")),
            ("alice's address with another MAC", "Gi1", "mac", ("alice", address, "02:00:00:00:01:99")),
            ("alice's MAC and address on carl's port", "Gi3", "unknown", ("carl", address, alice)))
    for what, port, reason, (host, ip, *mac) in lies:
        before = lab.switch.guarded(port, GUARD)
        lab.expect(f"{what} gets through", passes(lab, host, ip, *mac), False)
        after = lab.switch.guarded(port, GUARD)
        lab.expect(f"counted as {reason}", after[reason] - before[reason], 1)
    lab.show("show ipv6 verify source")


@step("a client that moves to another port is let through there from the REPLY on, and not before")
def move(lab):
    mover, server = crafted(lab, "carl", MOVER_MAC), lab.kept["server"]
    address = mover.lease()
    lab.expect("its row", known(lab, MOVER_MAC), (address, 10, "Gi3"))
    lab.expect("on its first port, it gets through", passes(lab, "carl", address, MOVER_MAC), True)
    mover.host = lab.hosts["bob"]
    server.freeze()
    mark = mover.send(REQUEST, address, server=True)
    lab.expect_that("its REQUEST from the new port is at the server", at_server(lab, mover, mark))
    lab.expect("its row", known(lab, MOVER_MAC), (address, 10, "Gi3"))
    lab.expect("before the REPLY, on the new port", passes(lab, "bob", address, MOVER_MAC), False)
    lab.expect("and on the old one", passes(lab, "carl", address, MOVER_MAC), True)
    server.thaw()
    lab.wait_until(lambda: known(lab, MOVER_MAC)[2] == "Gi2", 5, "the binding to move")
    lab.expect("after the REPLY, on the new port", passes(lab, "bob", address, MOVER_MAC), True)
    lab.expect("and on the old one", passes(lab, "carl", address, MOVER_MAC), False)


@step("what is saved loads and saves the same; the bindings are back before a client speaks, and their file is gone")
def restart(lab):
    held = bound(lab)
    lab.say(lab.switch.cli("write memory", "write ipv6 dhcp snooping database"))
    saved = lab.switch.cli("show running-config")
    lab.expect("exit status", lab.switch.stop(), 0)
    lab.expect("lines of the file", len(open(FILE, encoding="ascii").readlines()), len(held))
    lab.switch.start()
    lab.expect_that("the configuration is the same", lab.switch.cli("show running-config") == saved)
    lab.expect("lines of snooping's VLANs", re.findall("ipv6 dhcp snooping vlan (.*)", saved), ["5-7,10"])
    lab.expect("the file is there", os.path.exists(FILE), False)
    lab.expect_that("the bindings are the same", lab.switch.snooped("ipv6") == held)
    lab.expect("alice gets through", passes(lab, "alice", lab.kept["held"]["alice"]), True)
    lab.expect("alice with bob's address", passes(lab, "alice", lab.kept["held"]["bob"]), False)
    lab.expect("exit status", lab.switch.stop(), 0)
    lab.expect("lines of the file that nobody asked for", len(open(FILE, encoding="ascii").readlines()), len(held))
    lab.switch.start()
    lab.expect_that("the bindings are the same again", lab.switch.snooped("ipv6") == held)


@step("the same clients with another server")
def other_server(lab):
    for name in ("alice", "bob"):
        forget(lab.kept[name])
    lab.switch.cli("clear ipv6 dhcp snooping binding vlan 10")
    lab.expect("alice gets through", passes(lab, "alice", lab.kept["held"]["alice"]), False)
    lab.kept["server"].end()
    Kea6(lab.hosts["serv"], SERVER, "2001:db8:10::/64", "2001:db8:10::1000 - 2001:db8:10::10ff",
         (900, 1800, 3600, 3600)).begin()
    before = dict(lab.kept["held"])
    hold(lab)
    lab.expect_that("both addresses are new", not set(before.values()) & set(lab.kept["held"].values()))
    for name in ("alice", "bob"):
        lab.expect(f"{name}'s ping is answered", answered(lab, name), True)
