"""The DHCPv6 relay: clients of two VLANs, stock servers in a third, and a further relay."""
import re

from kit.dhcp6 import ADVERTISE, SERVERS, SERVERS_MAC, SOLICIT, Relayed, arriving, datagram, option, relaying
from kit.expected import same_bytes, tagged
from kit.expected6 import RELAY_FORWARD, RELAY_REPLY, forwarded, of_kinds, returned, same_exchange
from kit.ip6 import link_local, speaks_ip6
from kit.neighbour import Neighbour
from kit.scene import Port, steps_of
from kit.wire import Behind

TITLE = "A switch that relays DHCPv6 to a server in another VLAN"
PORTS = [
    Port(1, "alice", "10"),  # runs dhclient -6
    Port(2, "bob", "20"),    # runs dhcpcd
    Port(3, "serv", "99"),   # runs kea-dhcp6, then dnsmasq
    Port(4, "rela", "10"),   # a further relay: crafted, then dhcrelay -6 with a client behind it
    Port(5, "carl", "20"),   # crafted clients
    Port(24, "edge", "10,99", trunk=True),  # a destination of which only the MAC is real
]
SERVER, OWN, OWN_10, OWN_20 = "2001:db8:99::547", "2001:db8:99::1", "2001:db8:10::1", "2001:db8:20::1"
FAKE, FAKE_MAC = "2001:db8:99::9", "02:00:00:00:18:09"
BELOW = "2001:db8:77::1"  # the further relay's address before its clients
POOL, RANGE = "2001:db8:99::1", "2001:db8:99::2"  # how kea's addresses begin, and dnsmasq's
CONFIG = f"""
mac address-table aging-time 10
interface vlan 10
 ipv6 address {OWN_10}/64
interface vlan 20
 ipv6 address {OWN_20}/64
interface vlan 99
 ipv6 address {OWN}/64
service dhcpv6-relay
ipv6 dhcp relay destination {SERVER}
"""
ENQUIRY = bytes([SOLICIT, 1, 2, 3]) + option(1, b"\0\3\0\1\x02\0\0\0\x04\x10") + option(3, bytes(12))
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


def from_further(relay, message):
    """What a further relay at this host sends to all servers."""
    return datagram(relay.mac, SERVERS_MAC, link_local(relay.mac), SERVERS, (547, 547), message)


def serves_two_vlans(lab, beginning):
    """dhclient and dhcpcd begin, and get addresses that begin so."""
    for name, make, relay in (("alice", lab.dhclient6, OWN_10), ("bob", lab.dhcpcd6, OWN_20)):
        mark = lab.wire.now()
        lab.kept[name] = make(name)
        given = lab.kept[name].bind()
        lab.expect_that(f"{name}'s {given} is of the server's", given.startswith(beginning))
        same_exchange(lab, mark, name, ("serv", SERVER), OWN, relay)
        lab.say(Relayed(arriving(lab, mark, "serv", RELAY_FORWARD).data))


@step("dhclient -6 in VLAN 10 and dhcpcd in VLAN 20 get addresses from kea-dhcp6, both of the network it is in itself")
def clients(lab):
    serves_two_vlans(lab, POOL)
    lab.show("show ipv6 dhcp relay statistics")


@step("a further relay's message is replaced by the switch's own, a hop more for each destination; the answer returns")
def further(lab):
    fake = Neighbour(lab.wire, lab.hosts["edge"], FAKE, FAKE_MAC, 99)
    lab.switch.cli("configure", f"ipv6 dhcp relay destination {FAKE}")
    fake.leave()
    lab.expect("the second destination", state(lab, FAKE), (FAKE_MAC, "99", "-", "valid"))
    rela, serv, mac = lab.hosts["rela"], lab.hosts["serv"], lab.switch.mac
    speaks_ip6(rela)
    below = "2001:db8:78::1", "fe80::abcd"
    sent = from_further(rela, relaying(RELAY_FORWARD, 3, *below, ENQUIRY))
    mark = lab.wire.now()
    rela.send(sent)
    first, second = (arriving(lab, mark, host, RELAY_FORWARD) for host in ("serv", "edge"))
    answer = arriving(lab, mark, "serv", RELAY_REPLY, from_switch=False)
    back = arriving(lab, mark, "rela", RELAY_REPLY)
    lab.switch.cli("configure", f"no ipv6 dhcp relay destination {FAKE}")
    same_bytes(lab, "at the server", first, forwarded(sent, (OWN, SERVER), (mac, serv.mac)))
    same_bytes(lab, "at the second destination, in VLAN 99", second,
               tagged(forwarded(sent, (OWN, FAKE), (mac, FAKE_MAC), further=1), 99))
    same_bytes(lab, "the answer", back, returned(answer.data, OWN_10, (mac, rela.mac), below))
    lab.say(Relayed(back.data))
    lab.expect("type of the message that it carries", Relayed(back.data).carried()[0], ADVERTISE)


@step("one whose message begins with an interface-id, as those of dhcrelay -I do, is not understood")
def interface_id(lab):
    rela = lab.hosts["rela"]
    plain = relaying(RELAY_FORWARD, 0, BELOW, "fe80::abcd", ENQUIRY)
    mark = lab.wire.now()
    rela.send(from_further(rela, plain[:34] + option(18, b"back") + plain[34:]))
    lab.wait_until(lambda: re.search(r"request malformed +1\n", lab.switch.cli("show ipv6 dhcp relay statistics")), 5,
                   "a malformed request")
    lab.expect("relayed", of_kinds(lab, mark, "serv", True, (RELAY_FORWARD,)), [])


@step("dhcrelay -6 as the further relay: the answer bears its addresses, but comes to port 546, where nobody listens")
def stock_relay(lab):
    rela, dora = lab.hosts["rela"], Behind(lab.hosts["rela"], "dora")
    lab.hosts["dora"] = dora
    for address in (BELOW, "fe80::1"):
        rela.net.run("ip", "-6", "address", "add", f"{address}/64", "dev", "back", "nodad")
    lab.kept["relay"] = lab.dhcrelay6("rela", "2001:db8:10::4", "back").begin()
    lab.kept["dora"] = lab.dhclient6("dora")
    mark = lab.wire.now()
    lab.kept["dora"].begin()
    asked = arriving(lab, mark, "rela", RELAY_FORWARD, from_switch=False)
    lab.say(Relayed(asked.data))
    same_bytes(lab, "at the server", arriving(lab, mark, "serv", RELAY_FORWARD),
               forwarded(asked.data, (OWN, SERVER), (lab.switch.mac, lab.hosts["serv"].mac)))
    answer = arriving(lab, mark, "serv", RELAY_REPLY, from_switch=False)
    back = arriving(lab, mark, "rela", RELAY_REPLY)
    same_bytes(lab, "the answer", back, returned(answer.data, OWN_10, (lab.switch.mac, rela.mac),
                                                 (BELOW, link_local(dora.mac))))
    lab.say(Relayed(back.data))
    lab.expect_that("the relay's host answers that its port 546 is closed",
                    lab.wire.wait(mark, lambda frame: not frame.from_switch and closed_port(frame.data) == 546, 5))
    lab.expect("the client has", lab.kept["dora"].address(), None)


def closed_port(data):
    """Of an ICMPv6 message that a port is unreachable (type 1, code 4); None of other frames."""
    if data[12:14] == b"\x86\xdd" and data[20] == 58 and data[54:56] == b"\1\4":
        return int.from_bytes(data[104:106], "big")
    return None


@step("once its host redirects port 546 to 547, the client behind it is served")
def redirected(lab):
    lab.kept["relay"].hears_at(546)
    given = lab.wait_until(lab.kept["dora"].address, 15, "an address behind the further relay")
    lab.expect_that(f"dora's {given} is of kea's pool", given.startswith(POOL))
    lab.kept["relay"].end()


@step("dnsmasq in kea's place serves clients of both VLANs")
def other_server(lab):
    for name in ("alice", "bob"):
        lab.kept[name].release()
    lab.kept["kea"].end()
    lab.dnsmasq6("serv", SERVER, "2001:db8:99::2000", "2001:db8:99::2fff").begin()
    serves_two_vlans(lab, RANGE)


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
    becomes(lab, "valid", 60)
    given = lab.crafted6("carl", "02:00:00:00:05:12").lease()
    lab.expect_that(f"a new client's {given} is of the server's range", given.startswith(RANGE))
