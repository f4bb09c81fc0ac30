"""IP source guard and ARP checking with what snooping knows: a host speaks with its own address, from its own port."""
from kit.crafted import RELEASE, REQUEST, ip_bytes
from kit.scene import Port, steps_of

TITLE = "Hosts that lie about who they are"
PORTS = [
    Port(1, "alice", "10"),  # runs dhclient
    Port(2, "bob", "10"),    # runs dhcpcd
    Port(3, "carl", "10"),   # crafted clients, and a host that knows no DHCP
    Port(4, "serv", "10"),   # runs the server, a dnsmasq
]
CONFIG = """
vlan 10
ip dhcp snooping
ip dhcp snooping vlan 10
interface gigabitethernet 1
 ip verify source
interface gigabitethernet 2
 ip verify source
interface gigabitethernet 3
 ip verify source
interface gigabitethernet 4
 ip dhcp snooping trust
"""
SERVER, FIRST, LAST = "192.168.10.1", "192.168.10.100", "192.168.10.150"
FIXED, FIXED_MAC = "192.168.10.7", "02:00:00:00:03:77"
MOVER_MAC, HEIR_MAC = "02:00:00:00:03:10", "02:00:00:00:03:11"
STEPS, step = steps_of()


def passes(lab, host, ip, mac=None):
    """Whether what the host sends with this address and MAC arrives at the server."""
    return lab.speaker(host, ip, mac).reaches(lab.hosts["serv"], SERVER)


def moved(lab, port, action, kind="ip verify source"):
    """By how much the port's counters move while something is done."""
    before = lab.switch.guarded(port, kind)
    action()
    after = lab.switch.guarded(port, kind)
    return {what: after[what] - before[what] for what in after if after[what] != before[what]}


@step("on guarded ports nothing but DHCP passes before a host has a lease")
def before(lab):
    lab.switch.start(lab.config())
    lab.kept["server"] = lab.dnsmasq("serv", SERVER, FIRST, LAST, "--no-ping").begin()
    lab.expect("alice gets through with an address of her choice", passes(lab, "alice", FIRST), False)
    lab.kept["alice"], lab.kept["bob"] = lab.dhclient("alice"), lab.dhcpcd("bob")
    lab.kept["held"] = {name: lab.kept[name].bind() for name in ("alice", "bob")}
    lab.say(lab.kept["held"])
    lab.show("show ip dhcp snooping binding", "show ip verify source")


@step("with their leases, both are answered")
def bound(lab):
    for name, port in (("alice", "Gi1"), ("bob", "Gi2")):
        speaker = lab.speaker(name, lab.kept["held"][name])
        counted = moved(lab, port, lambda: lab.expect(f"{name}'s ping is answered",
                                                      speaker.answered(lab.hosts["serv"], SERVER), True))
        lab.expect_that(f"the ping passed the guard: {counted}", counted.get("passed", 0) >= 1 and
                        "dropped" not in counted)


@step("another source address, another MAC, another port: nothing passes, and each is counted")
def liars(lab):
    alice, address = lab.hosts["alice"].mac, lab.kept["held"]["alice"]
    lies = (("alice with bob's address", "Gi1", "unknown", ("alice", lab.kept["held"]["bob"])),
            ("alice with an address nobody has", "Gi1", "unknown", ("alice", "192.168.10.99")),
            ("alice's address with another MAC", "Gi1", "mac", ("alice", address, "02:00:00:00:01:99")),
            ("alice's MAC and address on bob's port", "Gi2", "unknown", ("bob", address, alice)),
            ("the same on carl's", "Gi3", "unknown", ("carl", address, alice)))
    for what, port, reason, (host, ip, *mac) in lies:
        counted = moved(lab, port, lambda: lab.expect(f"{what} gets through", passes(lab, host, ip, *mac), False))
        lab.expect("counted", counted, {"dropped": 1, reason: 1})
    honest = lab.speaker("alice", address)
    lab.expect("alice herself is still answered", honest.answered(lab.hosts["serv"], SERVER), True)
    lab.show("show ip verify source")


@step("a static binding opens its port for a host that knows no DHCP")
def static(lab):
    block = ("configure", "interface gigabitethernet 3")
    lab.expect("before, it gets through", passes(lab, "carl", FIXED, FIXED_MAC), False)
    lab.switch.cli(*block, f"ip dhcp snooping binding mac {FIXED_MAC} ip {FIXED} vlan 10 expiry 86400")
    lab.expect("with the binding", passes(lab, "carl", FIXED, FIXED_MAC), True)
    lab.expect("the same on another port", passes(lab, "bob", FIXED, FIXED_MAC), False)
    lab.expect("its row", lab.switch.snooped()[FIXED_MAC], (FIXED, 10, "Gi3", "86400", "static", "bound"))
    lab.switch.cli(*block, f"no ip dhcp snooping binding mac {FIXED_MAC}")
    lab.expect("without it again", passes(lab, "carl", FIXED, FIXED_MAC), False)


@step("a RELEASE from a wrong port changes nothing; the client's own closes its port")
def release(lab):
    alice, address = lab.hosts["alice"].mac, lab.kept["held"]["alice"]
    impostor = lab.crafted("bob", alice)
    impostor.server = (SERVER, lab.hosts["serv"].mac)
    impostor.send(RELEASE, ciaddr=address, options=[(54, ip_bytes(SERVER))])
    lab.wait_until(lambda: "wrong port" in lab.switch.cli("show ip dhcp snooping statistics"), 3,
                   "the false RELEASE to be counted")
    lab.expect("alice gets through", passes(lab, "alice", address), True)
    lab.hosts["alice"].knows(SERVER, lab.hosts["serv"].mac)
    lab.kept["alice"].release()
    lab.wait_until(lambda: alice not in lab.switch.snooped(), 5, "alice's row to go")
    lab.expect("after her own RELEASE", passes(lab, "alice", address), False)
    lab.expect("bob gets through", passes(lab, "bob", lab.kept["held"]["bob"]), True)


@step("a client that moves to another port is let through there from the ACK on, and not before")
def move(lab):
    mover, server = lab.crafted("carl", MOVER_MAC), lab.kept["server"]
    address = mover.lease()
    lab.expect("on its first port, it gets through", passes(lab, "carl", address, MOVER_MAC), True)
    there = lab.crafted("bob", MOVER_MAC)
    server.freeze()
    mark = there.send(REQUEST, options=[(50, ip_bytes(address))])
    lab.wait_until(lambda: lab.wire.since(mark, lambda frame: frame.from_switch and frame.host == "serv" and
                                          there.xid.to_bytes(4, "big") in frame.data), 3, "the REQUEST at the server")
    lab.expect("its row", lab.switch.snooped()[MOVER_MAC][:3], (address, 10, "Gi3"))
    lab.expect("before the ACK, on the new port", passes(lab, "bob", address, MOVER_MAC), False)
    lab.expect("and on the old one", passes(lab, "carl", address, MOVER_MAC), True)
    server.thaw()
    lab.wait_until(lambda: lab.switch.snooped()[MOVER_MAC][2] == "Gi2", 5, "the binding to move")
    lab.expect("its row", lab.switch.snooped()[MOVER_MAC][:3], (address, 10, "Gi2"))
    lab.expect("after the ACK, on the new port", passes(lab, "bob", address, MOVER_MAC), True)
    lab.expect("and on the old one", passes(lab, "carl", address, MOVER_MAC), False)
    lab.kept["taken"] = address


@step("another client that is given the same address takes it away from the first")
def taken(lab):
    address = lab.kept["taken"]
    lab.kept["server"].forget()
    heir = lab.crafted("carl", HEIR_MAC)
    offer = heir.discover(requested=address)
    lab.expect("the server, which lost its memory, offers", offer.address, address)
    ack = heir.ask(REQUEST, options=heir.selecting(address))
    lab.expect("and acknowledges", (ack.kind, ack.address), ("ACK", address))
    table = lab.switch.snooped()
    lab.expect_that("the first client's row has gone", MOVER_MAC not in table)
    lab.expect("the second's", table[HEIR_MAC][:3], (address, 10, "Gi3"))
    lab.expect("the first gets through", passes(lab, "bob", address, MOVER_MAC), False)
    lab.expect("the second", passes(lab, "carl", address, HEIR_MAC), True)


@step("ARP is checked on a port from `ip arp inspection` on: who lies is not heard")
def arp(lab):
    address = lab.kept["held"]["bob"]

    def heard(ip, mac=None, sender=None):
        return lab.speaker("bob", ip, mac).asks_for(lab.hosts["serv"], SERVER, sender)
    lab.expect("before, bob with the server's address is heard", heard(SERVER), True)
    lab.switch.cli("configure", "interface gigabitethernet 2", "ip arp inspection")
    lab.expect("bob with his own address is heard", heard(address), True)
    lies = (("with the server's address", "unknown", (SERVER,)),
            ("with an address nobody has", "unknown", ("192.168.10.99",)),
            ("with his address and another MAC", "mac", (address, "02:00:00:00:02:99")),
            ("speaking for another MAC", "other", (address, None, "02:00:00:00:02:99")))
    for what, reason, lie in lies:
        counted = moved(lab, "Gi2", lambda: lab.expect(f"bob {what}", heard(*lie), False), "ip arp inspection")
        lab.expect("counted", counted, {"dropped": 1, reason: 1})
    lab.show("show ip arp inspection")
    lab.expect("bob's ping is answered", lab.speaker("bob", address).answered(lab.hosts["serv"], SERVER), True)
