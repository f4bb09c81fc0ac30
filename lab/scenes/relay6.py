"""The DHCPv6 relay: clients of two VLANs, stock servers in a third, and a further relay."""
from kit.dhcp6 import ADVERTISE, SOLICIT, option, relay_forward, relayed
from kit.ip6 import link_local, speaks_ip6
from kit.sandbox import run
from kit.scene import Port, steps_of

TITLE = "A switch that relays DHCPv6 to a server in another VLAN"
PORTS = [
    Port(1, "alice", "10"),  # runs dhclient -6
    Port(2, "bob", "20"),    # runs dhcpcd
    Port(3, "serv", "99"),   # runs kea-dhcp6, then dnsmasq
    Port(4, "rela", "10"),   # a further relay
    Port(5, "carl", "20"),   # crafted clients
]
SERVER, OWN = "2001:db8:99::547", "2001:db8:99::1"
POOL = "2001:db8:99::1"  # how the pool's addresses begin
CONFIG = f"""
mac address-table aging-time 10
interface vlan 10
 ipv6 address 2001:db8:10::1/64
interface vlan 20
 ipv6 address 2001:db8:20::1/64
interface vlan 99
 ipv6 address {OWN}/64
service dhcpv6-relay
ipv6 dhcp relay destination {SERVER}
"""
FORWARD, REPLY = 12, 13
MOST = 11
STEPS, step = steps_of()


def state(lab, address=SERVER):
    """What is known of a destination: (next hop, VLAN, port, state)."""
    for row in map(str.split, lab.switch.cli("show ipv6 dhcp relay destination").splitlines()):
        if row and row[0] == address:
            return tuple(row[1:5])
    return None


def becomes(lab, wanted, seconds):
    lab.wait_until(lambda: state(lab)[3] == wanted, seconds, f"a destination that is {wanted}")
    lab.show("show ipv6 dhcp relay destination")


@step("the switch starts, and learns the destination's MAC once the server is there")
def start(lab):
    lab.switch.start(lab.config())
    lab.expect("before", state(lab), ("-", "-", "-", "probing"))
    lab.kept["kea"] = lab.kea6("serv", SERVER, "2001:db8:99::/64", "2001:db8:99::100 - 2001:db8:99::1ff",
                               (1000, 2000, 3000, 4000)).begin()
    becomes(lab, "valid", 60)
    lab.expect("then", state(lab)[:2], (lab.hosts["serv"].mac, "99"))


@step("clients of two VLANs get addresses from kea-dhcp6")
def clients(lab):
    mark = lab.wire.now()
    given = lab.dhclient6("alice").bind()
    lab.expect_that(f"alice's {given} is of its pool", given.startswith(POOL))
    sent = relayed(lab, mark, "serv", FORWARD)
    lab.say(sent)
    lab.expect("hops, link, peer", (sent.hops, sent.link, sent.peer), (0, OWN, link_local(lab.hosts["alice"].mac)))
    lab.expect("from, to, ports", (sent.ip_from, sent.ip_to, sent.ports), (OWN, SERVER, (546, 547)))
    lab.expect("MACs", (sent.mac_from, sent.mac_to), (lab.switch.mac, lab.hosts["serv"].mac))
    lab.expect("type of the message that it carries", sent.carried()[0], SOLICIT)
    given = lab.dhcpcd6("bob").bind()
    lab.expect_that(f"bob's {given} is of its pool, too", given.startswith(POOL))
    lab.show("show ipv6 dhcp relay statistics")


@step("a further relay's message is replaced by the switch's own, and the answer finds its way back")
def further(lab):
    relay, link, peer = lab.hosts["rela"], "2001:db8:77::1", "fe80::abcd"
    speaks_ip6(relay)
    duid = option(1, b"\0\3\0\1\x02\0\0\0\x04\x10")
    solicit = bytes([SOLICIT, 1, 2, 3]) + duid + option(3, bytes(12))
    mark = lab.wire.now()
    relay.send(relay_forward(relay, 3, link, peer, solicit))
    sent = relayed(lab, mark, "serv", FORWARD)
    lab.say(sent)
    lab.expect("link, peer", (sent.link, sent.peer), (OWN, link_local(relay.mac)))
    lab.expect_that("it carries the client's message itself", sent.carried() == solicit)
    back = relayed(lab, mark, "rela", REPLY)
    lab.say(back)
    lab.expect("link, peer of the answer", (back.link, back.peer), (link, peer))
    lab.expect("type of the message that it carries", back.carried()[0], ADVERTISE)
    lab.expect("sent to", (back.mac_to, back.ip_to, back.ports), (relay.mac, link_local(relay.mac), (547, 546)))


@step("dnsmasq in kea's place serves the same clients")
def other_server(lab):
    lab.kept["kea"].end()
    lab.dnsmasq6("serv", SERVER, "2001:db8:99::1000", "2001:db8:99::1fff").begin()
    given = lab.crafted6("carl", "02:00:00:00:05:10").lease()
    lab.expect_that(f"carl's {given} is of its range", given.startswith(POOL))


@step(f"{MOST} destinations, and no twelfth")
def limit(lab):
    more = [f"ipv6 dhcp relay destination 2001:db8:55::{number:x}" for number in range(1, MOST)]
    lab.switch.cli("configure", *more)
    said = lab.switch.refuses("configure", "ipv6 dhcp relay destination 2001:db8:55::ff")
    lab.say(said)
    lab.expect_that("the twelfth is refused", said)
    lab.switch.cli("configure", *("no " + line for line in more))
    lab.expect("the first one is as it was", state(lab)[3], "valid")


@step("the server goes away and comes back; clients are served again")
def returns(lab):
    server = lab.hosts["serv"]
    server.net.run("ip", "-6", "address", "del", f"{SERVER}/64", "dev", "serv")  # nobody answers for it any more
    becomes(lab, "stale", 60)
    client = lab.crafted6("carl", "02:00:00:00:05:11")
    lab.expect("a client asks, and gets", client.answer(client.send(SOLICIT), 1), None)
    speaks_ip6(server, SERVER)
    # A neighbour that the kernel still knows is asked directly, and Linux then leaves its MAC out of the answer.
    run("ip", "-6", "neighbour", "flush", "dev", "eth0.99")
    becomes(lab, "valid", 60)
    given = lab.crafted6("carl", "02:00:00:00:05:12").lease()
    lab.expect_that(f"a new client's {given} is of the server's range", given.startswith(POOL))
