"""The DHCPv6 server: stock clients and crafted ones, from their first address to its release."""
from kit.dhcp6 import (CONFIRM, DECLINE, REBIND, RELEASE, RENEW, REPLY, REQUEST, SOLICIT, Crafted6, sent_by)
from kit.scene import Port, steps_of

TITLE = "A switch that leases IPv6 addresses"
PORTS = [
    Port(1, "alice", "10"),  # runs dhclient -6
    Port(2, "bob", "10"),    # runs dhcpcd
    Port(3, "carl", "10"),   # crafted clients
    Port(4, "tess", "10,20", trunk=True),
]
PREFERRED, VALID = 16, 100  # T1 is 8 s, T2 12 s
STATIC_MAC, STATIC = "02:00:00:00:03:77", "2001:db8:10::77"
CONFIG = f"""
interface vlan 10
 ipv6 address 2001:db8:10::1/64
interface vlan 20
 ipv6 address 2001:db8:20::1/64
service dhcpv6-server
ipv6 dhcp pool 10
 network-address 2001:db8:10::1 2001:db8:10::ff
 lifetime {PREFERRED} {VALID}
 domain-name lab.example
 dns-server 2001:db8:10::53
 dns-server 2001:db8:10::54
 excluded-address 2001:db8:10::2
 excluded-address 2001:db8:10::4
 static-binding {STATIC_MAC} {STATIC}
 exit
ipv6 dhcp pool 20
 network-address 2001:db8:20:: 64
 excluded-address 2001:db8:20::2
 exit
"""
# The pool begins at the switch's own address; ::2 and ::4 are excluded.
FIRST, SECOND, THIRD = ("2001:db8:10::%x" % last for last in (3, 5, 6))
NOT_ON_LINK = 4
STEPS, step = steps_of()


def heard(lab, mark, host, kinds, seconds):
    """The host's next message of one of these kinds."""
    mac = lab.hosts[host].mac
    lab.wait_until(lambda: sent_by(lab, mark, mac, kinds, host), seconds, f"{kinds} of {host}")
    return sent_by(lab, mark, mac, kinds, host)[0]


def answered(lab, mark, host, request, seconds=3):
    """The switch's REPLY to it."""
    def replies():
        return [m for m in sent_by(lab, mark, lab.switch.mac, [REPLY], host) if m.xid == request.xid]
    lab.wait_until(replies, seconds, f"a REPLY to {host}")
    return replies()[0]


@step("the switch starts from its configuration")
def start(lab):
    lab.say(lab.config())
    lab.switch.start(lab.config())
    lab.show("show ipv6 dhcp server")


@step("dhclient gets the lowest free address: not the switch's own, not an excluded one")
def first_client(lab):
    mark = lab.wire.now()
    lab.kept["alice"] = lab.dhclient6("alice")
    lab.expect("alice's address", lab.kept["alice"].bind(), FIRST)
    reply = answered(lab, mark, "alice", heard(lab, mark, "alice", [REQUEST], 5))
    lab.say(reply)
    lab.expect("lease: address, T1, T2, preferred, valid", reply.lease(),
               (FIRST, PREFERRED // 2, PREFERRED * 4 // 5, PREFERRED, VALID))
    lab.expect("DNS servers", reply.value(23).hex(), "20010db8001000000000000000000053"
               "20010db8001000000000000000000054")
    lab.expect("domain name, in one label", reply.value(24), b"\x0blab.example\0")
    lab.expect("ports", reply.ports, (547, 546))


@step("dhcpcd gets the next")
def second_client(lab):
    lab.kept["bob"] = lab.dhcpcd6("bob")
    lab.expect("bob's address", lab.kept["bob"].bind(), SECOND)
    lab.show("show ipv6 dhcp binding")


@step("dhclient renews at T1, and the switch prolongs the lease")
def renewal(lab):
    mark = lab.wire.now()
    request = heard(lab, mark, "alice", [RENEW], PREFERRED)
    lab.say(request)
    lab.expect("address in the answer", answered(lab, mark, "alice", request).lease()[0], FIRST)


@step("with the server off nobody answers; at T2 both clients ask any server, and keep their addresses")
def rebinding(lab):
    lab.switch.cli("configure", "no service dhcpv6-server")
    mark = lab.wire.now()
    asked = {host: heard(lab, mark, host, [REBIND], 2 * PREFERRED) for host in ("alice", "bob")}
    for request in asked.values():
        lab.say(request)
    lab.expect("answers meanwhile", sent_by(lab, mark, lab.switch.mac, [REPLY]), [])
    mark = lab.wire.now()
    lab.switch.cli("configure", "service dhcpv6-server")
    for host, address in (("alice", FIRST), ("bob", SECOND)):
        request = heard(lab, mark, host, [REBIND], 45)  # they wait longer from one to the next
        lab.expect(f"{host} is answered with", answered(lab, mark, host, request).lease()[0], address)


@step("a client with a static binding gets its address, and nobody else does")
def static_binding(lab):
    lab.expect("its address", lab.crafted6("carl", STATIC_MAC).lease(), STATIC)
    other = lab.crafted6("carl", "02:00:00:00:03:10")
    lab.expect("another client asks for it, and is offered", other.ask(SOLICIT, STATIC).lease()[0], THIRD)
    lab.kept["carl"] = other


@step("an address that is asked for and free is given; excluded, taken or own ones are not")
def requested(lab):
    client = lab.kept["carl"]
    for why, address in (("the switch's own", "2001:db8:10::1"), ("excluded", "2001:db8:10::4"),
                         ("held by alice", FIRST), ("outside the pool", "2001:db8:11::9")):
        lab.expect(f"asking for {address} ({why}), offered", client.ask(SOLICIT, address).lease()[0], THIRD)
    lab.expect("asking for 2001:db8:10::33, offered", lab.crafted6("carl", "02:00:00:00:03:11").ask(
        SOLICIT, "2001:db8:10::33").lease()[0], "2001:db8:10::33")
    lab.expect("lease", client.lease(), THIRD)


@step("CONFIRM: a known client is told yes, an unknown one on the link nothing, one from elsewhere NotOnLink")
def confirm(lab):
    client = lab.kept["carl"]
    reply = client.ask(CONFIRM, THIRD)
    lab.say(reply)
    lab.expect("a known client's address", reply.lease()[0], THIRD)
    stranger = lab.crafted6("carl", "02:00:00:00:03:12")
    lab.expect("answer to a stranger within the pool", stranger.silence(CONFIRM, "2001:db8:10::44"), None)
    reply = stranger.ask(CONFIRM, "2001:db8:77::44")
    lab.say(reply)
    lab.expect("status for one from elsewhere", reply.status(), NOT_ON_LINK)


@step("a declined address becomes a conflict and is not offered again")
def decline(lab):
    client = lab.kept["carl"]
    client.server = client.ask(SOLICIT).value(2)
    lab.expect("status", client.ask(DECLINE, THIRD, server=True).status(), 0)
    lab.show("show ipv6 dhcp conflict")
    lab.expect_that("it is in conflict", THIRD in lab.switch.cli("show ipv6 dhcp conflict"))
    lab.expect_that("its binding is gone", THIRD + " " not in lab.switch.cli("show ipv6 dhcp binding"))
    lab.expect_that("the next client is offered another one", lab.crafted6("carl", "02:00:00:00:03:13").ask(
        SOLICIT).lease()[0] != THIRD)
    lab.switch.cli("clear ipv6 dhcp conflict *")
    lab.expect("once it is cleared, a new one is offered", lab.crafted6("carl", "02:00:00:00:03:14").ask(
        SOLICIT).lease()[0], THIRD)


@step("messages for another server, and renewals of what nobody has")
def refusals(lab):
    client = lab.crafted6("carl", "02:00:00:00:03:15")
    client.server = b"\0\3\0\1\x02\0\0\0\0\x55"
    lab.expect("a REQUEST to another server", client.silence(REQUEST, "2001:db8:10::50", server=True), None)
    client.server = client.ask(SOLICIT).value(2)
    reply = client.ask(RENEW, "2001:db8:10::50", server=True)
    lab.expect("a RENEW of an unknown lease brings an address", reply.lease(), None)


@step("release: the rows go, and the address is the lowest free one again")
def release(lab):
    for host in ("alice", "bob"):
        mark = lab.wire.now()
        lab.kept[host].release()
        request = heard(lab, mark, host, [RELEASE], 10)
        lab.expect(f"status for {host}", answered(lab, mark, host, request).status(), 0)
    lab.show("show ipv6 dhcp binding")
    lab.expect("a visitor gets", lab.crafted6("carl", "02:00:00:00:03:16").lease(), FIRST)


@step("a second VLAN has its own pool, given by a prefix")
def second_vlan(lab):
    client = Crafted6(lab.wire, lab.hosts["tess"], "02:00:00:00:04:10", vlan=20)
    offer = client.ask(SOLICIT)
    lab.say(offer)
    lab.expect("tag of the answer", offer.vlan, 20)
    lab.expect_that(f"{offer.lease()[0]} is of that VLAN's network", offer.lease()[0].startswith("2001:db8:20::"))
    lab.expect("default lifetimes", offer.lease()[3:], (43200, 86400))


@step("relay and server exclude each other, both ways")
def exclusion(lab):
    said = lab.switch.refuses("configure", "service dhcpv6-relay")
    lab.say(said)
    lab.expect_that("the relay is refused", said)
    lab.switch.cli("configure", "no service dhcpv6-server", "service dhcpv6-relay")
    said = lab.switch.refuses("configure", "service dhcpv6-server")
    lab.say(said)
    lab.expect_that("the server is refused", said)
    lab.switch.cli("configure", "no service dhcpv6-relay", "service dhcpv6-server")
    lab.show("show ipv6 dhcp server statistics")


@step("saved, loaded and saved again, the configuration is the same")
def save_and_restart(lab):
    def saved():
        lab.switch.cli("write memory")
        with open(lab.switch.config, encoding="utf-8") as file:
            return file.read()

    def restarted():
        lab.expect("exit status", lab.switch.stop(), 0)
        lab.switch.start()
        return saved()
    first = saved()
    second, third = restarted(), restarted()
    lab.say(third)
    lab.expect_that("after one restart the pools are in the other order", second != first and
                    sorted(second.splitlines()) == sorted(first.splitlines()))
    lab.expect_that("after two restarts the file is the same", third == first)
