"""A rogue DHCP server that is faster than the real one gets nobody; every client's address, port and lease is known."""
import re

from kit.crafted import ACK, NAK, OFFER, Reply, dhcp, from_server
from kit.scene import Port, steps_of

TITLE = "A network with a rogue DHCP server"
PORTS = [
    Port(1, "alice", "10"),  # runs dhclient
    Port(2, "bob", "10"),    # runs dhcpcd
    Port(3, "carl", "10"),   # crafted clients
    Port(4, "serv", "10"),   # runs the real server, a dnsmasq that takes its time
    Port(5, "rogue", "10"),  # runs another dnsmasq that answers at once
]
CONFIG = "vlan 10"
SNOOPING = ("configure", "ip dhcp snooping", "ip dhcp snooping vlan 10", "interface gigabitethernet 4",
            "ip dhcp snooping trust")
REAL, ROGUE = "192.168.10.1", "192.168.66.1"
LEASE = "3600"
STEPS, step = steps_of()


def answers(lab, mark, server, arrived):
    """Messages of this server (None = of any) as they came out of the switch, or as they went in."""
    def of_server(frame):
        return frame.from_switch == arrived and (message := dhcp(frame.data)) is not None and message.op == 2
    replies = [Reply(frame) for frame in lab.wire.since(mark, of_server)]
    return [reply for reply in replies if server in (None, reply.ip_from)]


def of_kind(replies, kind):
    return len([reply for reply in replies if reply.kind == kind])


@step("two servers in one network: without snooping, the rogue is first")
def without(lab):
    lab.switch.start(lab.config())
    lab.dnsmasq("serv", REAL, "192.168.10.100", "192.168.10.150", "--dhcp-reply-delay=1").begin()
    lab.dnsmasq("rogue", ROGUE, "192.168.66.100", "192.168.66.150", "--no-ping").begin()
    offer = lab.crafted("carl", "02:00:00:00:03:10").discover()
    lab.say(offer)
    lab.expect("the server whose OFFER comes first", offer.ip_from, ROGUE)


@step("snooping is turned on, and the real server's port trusted")
def turn_on(lab):
    lab.switch.cli(*SNOOPING)
    lab.kept["mark"] = lab.wire.now()
    lab.show("show running-config | include snooping", "show ip dhcp snooping")


@step("dhclient and dhcpcd hold addresses of the real server")
def clients(lab):
    lab.kept["alice"], lab.kept["bob"] = lab.dhclient("alice"), lab.dhcpcd("bob")
    held = {name: lab.kept[name].bind() for name in ("alice", "bob")}
    lab.say(held)
    for name, address in held.items():
        lab.expect_that(f"{name}'s {address} is one of the real server's", address.startswith("192.168.10."))
    lab.kept["held"] = held


@step("the rogue did answer, first, and nothing of it came through; its OFFERs are counted on its port")
def rogue_counted(lab):
    mark = lab.kept["mark"]
    sent = answers(lab, mark, ROGUE, arrived=False)
    lab.expect_that(f"it sent {of_kind(sent, 'OFFER')} OFFERs", of_kind(sent, "OFFER") >= 2)
    lab.expect("answers of the rogue at any other port", answers(lab, mark, ROGUE, arrived=True), [])
    for name in ("alice", "bob"):
        offers = [reply.ip_from for reply in answers(lab, mark, None, arrived=False) if reply.kind == "OFFER" and
                  reply.chaddr[:6].hex(":") == lab.hosts[name].mac]
        lab.expect(f"who made {name} an offer first", offers[0], ROGUE)

    def counted():
        sent = answers(lab, mark, ROGUE, arrived=False)
        return lab.switch.snooping_drops("Gi5") == (of_kind(sent, "ACK"), of_kind(sent, "OFFER"))
    lab.wait_until(counted, 3, "as many drops on port 5 as the rogue sent ACKs and OFFERs")
    lab.show("show ip dhcp snooping", "show ip dhcp snooping statistics")
    lab.say(f"ACKs and OFFERs dropped on the rogue's port: {lab.switch.snooping_drops('Gi5')}, as many as it sent")
    lab.expect("and on the server's", lab.switch.snooping_drops("Gi4"), (0, 0))


@step("the rogue is named: MAC, address, port, VLAN; once a minute in the log")
def rogue_named(lab):
    mac = lab.hosts["rogue"].mac
    shown = lab.switch.cli("show ip dhcp snooping")
    line = next(line for line in shown.splitlines() if "rogue" in line.lower())
    lab.say(line.strip())
    for word in (mac, ROGUE, "Gi5", "vlan 10"):
        lab.expect_that(f"the line has {word}", word.lower() in line.lower())
    warnings = re.findall(r".*rogue dhcp server.*", lab.switch.said())
    lab.say("\n".join(warnings))
    lab.expect("warnings in the log", len(warnings), 1)
    lab.expect_that("it names the rogue's MAC and address", mac in warnings[0] and ROGUE in warnings[0])


@step("the binding table shows MAC, address, VLAN, port and lease")
def table(lab):
    lab.show("show ip dhcp snooping binding")
    held = lab.kept["held"]
    lab.expect("clients", lab.switch.snooped(), {
        lab.hosts["alice"].mac: (held["alice"], 10, "Gi1", LEASE, "dynamic", "bound"),
        lab.hosts["bob"].mac: (held["bob"], 10, "Gi2", LEASE, "dynamic", "bound")})


@step("forged OFFER, ACK and NAK from the rogue's port reach nobody and change nothing")
def forged(lab):
    rogue, before, drops = lab.hosts["rogue"], lab.switch.snooped(), lab.switch.snooping_drops("Gi5")
    victim = lab.crafted("alice", lab.hosts["alice"].mac)
    mark = lab.wire.now()
    for kind in (OFFER, ACK, NAK):
        for to in (victim.mac, "ff:ff:ff:ff:ff:ff"):
            rogue.send(from_server(kind, rogue, REAL, victim, "192.168.66.77", to=to))
    counted = (drops[0] + 2, drops[1] + 2)
    lab.wait_until(lambda: lab.switch.snooping_drops("Gi5") == counted, 5, f"{counted} ACKs and OFFERs dropped")
    lab.expect("of them at any port", answers(lab, mark, REAL, arrived=True), [])
    lab.expect_that("the table is as before", lab.switch.snooped() == before)


@step("the clients renew with the real server")
def renew(lab):
    mark = lab.wire.now()
    lab.kept["bob"].renew()
    found = lab.wire.wait(mark, lambda frame: frame.from_switch and frame.host == "bob" and
                          dhcp(frame.data) is not None and Reply(frame).kind == "ACK", 5)
    lab.say(Reply(found))
    lab.expect("bob's address", Reply(found).address, lab.kept["held"]["bob"])
    lab.hosts["alice"].knows(REAL, lab.hosts["serv"].mac)
    lab.kept["alice"].release()
    lab.wait_until(lambda: lab.hosts["alice"].mac not in lab.switch.snooped(), 5, "alice's row to go")
    lab.expect("alice, released and bound again, has", lab.dhclient("alice").bind(), lab.kept["held"]["alice"])
