"""Clients of two VLANs, and servers in a third that give each the right network: relayed, routed, byte for byte."""
from kit.crafted import BROADCAST, DISCOVER, OFFER, REQUEST, Reply, dhcp, from_server, ip_text
from kit.expected import AGENT, arriving, default_ids, link, routed, same_bytes, tagged, with_agent
from kit.neighbour import Neighbour
from kit.scene import Port, steps_of
from kit.wire import Behind

TITLE = "A switch that brings its clients to servers elsewhere"
PORTS = [
    Port(1, "alice", "10"),  # runs dhclient
    Port(2, "bob", "11"),    # runs dhcpcd
    Port(3, "carl", "10"),   # crafted clients
    Port(4, "serv", "20"),   # runs the server: a dnsmasq, then a kea-dhcp4
    Port(5, "twin", "20"),   # runs another dnsmasq
    Port(6, "gate", "20"),   # a router, with a server behind it
    Port(24, "edge", "10,11,20,30", trunk=True),  # the route port; behind it a helper of which only the MAC is real
]
CONFIG = """
vlan 10,11,20,30
interface vlan 10
 ip address 192.168.10.1 255.255.255.0
interface vlan 11
 ip address 192.168.11.1 255.255.255.0
interface vlan 20
 ip address 192.168.20.1 255.255.255.0
 ip gateway 192.168.20.254
 exit
ip dhcp information option ip 192.168.10.0 fromvlan 10
ip dhcp information option ip 192.168.11.0 fromvlan 11
service dhcp-relay management-vlan
ip helper-address 192.168.20.2
"""
RELAY, SERVER, TWIN, GATEWAY, FAR, FAKE = ("192.168.20.1", "192.168.20.2", "192.168.20.3", "192.168.20.254", "10.99.0.2",
                                           "192.168.20.9")
FAKE_MAC = "02:00:00:00:18:09"
STEPS, step = steps_of()


def networks(first, last):
    """What makes a dnsmasq serve both VLANs' networks."""
    return (f"set:ten,192.168.10.{first}", f"192.168.10.{last}", "--no-ping",
            f"--dhcp-range=set:eleven,192.168.11.{first},192.168.11.{last},255.255.255.0,1h",
            "--dhcp-option=tag:ten,option:router,192.168.10.1", "--dhcp-option=tag:eleven,option:router,192.168.11.1")


def agent(lab, vlan, port):
    """Option 82 as the relay adds it."""
    return default_ids(lab, vlan, port) + link(f"192.168.{vlan}.0")


def frames(lab, mark, host, from_switch=True):
    """The DHCP frames that came out at a host, or that it sent."""
    return lab.wire.since(mark, lambda frame: frame.host == host and frame.from_switch == from_switch and
                          dhcp(frame.data) is not None)


def messages(lab, mark, host, from_switch=True):
    return [dhcp(frame.data) for frame in frames(lab, mark, host, from_switch)]


def acknowledged(lab, mark, host):
    """The ACK that the host gets, taken apart."""
    found = lab.wire.wait(mark, lambda frame: frame.from_switch and frame.host == host and
                          dhcp(frame.data) is not None and Reply(frame).kind == "ACK", 5)
    if found is None:
        raise TimeoutError(f"no ACK for {host}")
    return Reply(found)


def helper(lab, address):
    """A helper's row: next hop, VLAN, state, age, requests, replies."""
    return lab.switch.helpers()[address]


@step("the switch starts with a helper address, and knows the way there at once")
def start(lab):
    lab.hosts["gate"].net.run("ip", "address", "add", f"{GATEWAY}/24", "dev", "gate")
    lab.kept["server"] = lab.dnsmasq("serv", SERVER, *networks(100, 149)).begin()
    lab.switch.start(lab.config())
    lab.show("show running-config | include relay", "show ip helper-address", "show ip dhcp relay")
    lab.expect("next hop, VLAN and state", helper(lab, SERVER)[:3], (lab.hosts["serv"].mac, "20", "valid"))


@step("dhclient in VLAN 10 and dhcpcd in VLAN 11 get addresses of their own networks")
def clients(lab):
    mark = lab.wire.now()
    lab.kept["alice"], lab.kept["bob"] = lab.dhclient("alice"), lab.dhcpcd("bob")
    for name, vlan, port in (("alice", 10, 1), ("bob", 11, 2)):
        address = lab.kept[name].bind()
        lab.expect_that(f"{name}'s {address} is of 192.168.{vlan}.0", address.startswith(f"192.168.{vlan}.1"))
        asked = [taken for taken in map(Reply, frames(lab, mark, "serv"))
                 if taken.chaddr[:6].hex(":") == lab.hosts[name].mac]
        lab.expect(f"option 82 of {name}'s messages at the server", {dict(m.options)[AGENT].hex() for m in asked},
                   {agent(lab, vlan, port).hex()})
        lab.expect("their relay agent's address", {m.giaddr for m in asked}, {RELAY})
    lab.show("show ip helper-address", "show ip dhcp relay statistics")


@step("a relayed request, byte for byte, to the server and, tagged, to a helper behind a trunk")
def request(lab):
    fake = Neighbour(lab.wire, lab.hosts["edge"], FAKE, FAKE_MAC, 20)
    lab.switch.cli("configure", f"ip helper-address {FAKE}")
    fake.leave()
    lab.expect("the second helper", helper(lab, FAKE)[:3], (FAKE_MAC, "20", "valid"))
    carl = lab.crafted("carl", "02:00:00:00:03:10")
    sent = carl.frame(DISCOVER, options=[(60, b"a vendor"), (12, b"carl")], want=[1, 3, 6])
    mark = lab.wire.now()
    carl.host.send(sent)
    longer = with_agent(sent, agent(lab, 10, 3))
    same_bytes(lab, "at the server", arriving(lab, mark, "serv", carl),
               routed(longer, RELAY, SERVER, (lab.hosts["serv"].mac, lab.switch.mac)))

    def to_fake(frame):
        return frame.from_switch and frame.host == "edge" and frame.data[:6].hex(":") == FAKE_MAC
    same_bytes(lab, "at the trunk", lab.wire.wait(mark, to_fake, 5),
               tagged(routed(longer, RELAY, FAKE, (FAKE_MAC, lab.switch.mac)), 20))
    lab.switch.cli("configure", f"no ip helper-address {FAKE}")


@step("the answer comes by broadcast where the client asks for that, otherwise to it alone; each in its VLAN")
def reply(lab):
    mac = lab.switch.mac
    for flags, to in ((0x8000, (BROADCAST, "255.255.255.255")), (0, None)):
        carl = lab.crafted("carl", f"02:00:00:00:03:2{flags >> 15}")
        mark = lab.wire.now()
        offer = carl.discover(flags=flags)
        lab.say(offer)
        sent = next(m for m in messages(lab, mark, "serv", from_switch=False) if m.xid == carl.xid)
        lab.expect("to", (offer.mac_to, offer.ip_to), to or (carl.mac, offer.address))
        lab.expect("from, and its ports", (offer.mac_from, offer.ip_from, offer.ports), (mac, RELAY, (67, 68)))
        lab.expect("hops", dhcp(offer.data).hops, sent.hops + 1)
        same = [field for field in ("xid", "yiaddr", "siaddr", "giaddr", "flags", "chaddr", "options")
                if getattr(dhcp(offer.data), field) != getattr(sent, field)]
        lab.expect("fields that differ from what the server sent", same, [])
        lab.expect("leased", carl.lease(flags=flags).rpartition(".")[0], "192.168.10")
        heard = {frame.host for frame in lab.wire.since(mark, lambda frame: frame.from_switch and dhcp(frame.data)
                                                        is not None and dhcp(frame.data).op == 2)}
        lab.expect("who heard the answers", heard, {"carl", "alice", "edge"} if to else {"carl"})


@step("renewals, sent to the server alone, are relayed, too")
def renewals(lab):
    mark = lab.wire.now()
    lab.kept["bob"].renew()
    given = acknowledged(lab, mark, "bob").address
    lab.expect("bob asks with his address filled in, and is given",
               (messages(lab, mark, "bob", from_switch=False)[0].ciaddr, given), (lab.kept["bob"].address(),) * 2)
    carl = lab.crafted("carl", "02:00:00:00:03:20")
    address = carl.lease()
    carl.server = (SERVER, lab.switch.mac)  # through his gateway
    ack = carl.ask(REQUEST, ciaddr=address, unicast=True)
    lab.expect("carl, by unicast through his gateway, is given", (ack.kind, ack.address, ack.mac_to),
               ("ACK", address, carl.mac))


@step("of two helpers both get a DISCOVER, and the REQUEST goes to the one that it names")
def two(lab):
    lab.kept["twin"] = lab.dnsmasq("twin", TWIN, *networks(150, 199)).begin()
    lab.switch.cli("configure", f"ip helper-address {TWIN}")
    for name, server in (("serv", SERVER), ("twin", TWIN)):
        carl = lab.crafted("carl", f"02:00:00:00:03:3{server[-1]}")
        mark = lab.wire.now()
        offers = {}
        carl.discover()

        def both():
            offers.update((ip_text(offer.value(54)), offer) for offer in map(Reply, frames(lab, mark, "carl"))
                          if offer.xid == carl.xid)
            return len(offers) == 2
        lab.wait_until(both, 5, "two OFFERs")
        carl.server = (server, None)
        mark = lab.wire.now()
        ack = carl.ask(REQUEST, options=carl.selecting(offers[server].address))
        lab.expect(f"asking {server}, carl is given", (ack.kind, ack.address), ("ACK", offers[server].address))
        counts = {host: len(messages(lab, mark, host)) for host in ("serv", "twin")}
        lab.expect("REQUESTs that came out at the servers", counts, {"serv": 0, "twin": 0, name: 1})
    lab.show("show ip helper-address")
    lab.switch.cli("configure", f"no ip helper-address {TWIN}")
    lab.kept["twin"].end()


@step("a helper beyond a router gets requests by way of the VLAN's gateway")
def beyond(lab):
    far = lab.hosts["far"] = Behind(lab.hosts["gate"], "far")
    gate = lab.hosts["gate"].net
    gate.run("sh", "-c", "echo 1 > /proc/sys/net/ipv4/ip_forward")
    gate.run("ip", "address", "add", "10.99.0.254/24", "dev", "back")
    server = lab.dnsmasq("far", FAR, *networks(200, 249)).begin()
    far.net.run("ip", "route", "add", "default", "via", "10.99.0.254")
    lab.switch.cli("configure", f"no ip helper-address {SERVER}", f"ip helper-address {FAR}")
    lab.expect("next hop, VLAN and state", helper(lab, FAR)[:3], (lab.hosts["gate"].mac, "20", "valid"))
    carl = lab.crafted("carl", "02:00:00:00:03:40")
    offer = carl.discover()
    lab.say(offer)
    lab.expect("OFFER of", ip_text(offer.value(54)), FAR)
    lab.expect_that(f"carl leases {offer.address}, one of that server's", carl.lease() == offer.address and
                    offer.address.startswith("192.168.10.2"))
    lab.switch.cli("configure", f"no ip helper-address {FAR}", f"ip helper-address {SERVER}")
    server.end()


@step("the same with kea-dhcp4: leases of the right networks, and a renewal")
def second_server(lab):
    lab.hosts["alice"].knows("192.168.10.1", lab.switch.mac)
    lab.hosts["bob"].knows("192.168.11.1", lab.switch.mac)
    for name in ("alice", "bob"):
        lab.kept[name].release()
    lab.kept["server"].end()
    kea = lab.kea("serv", SERVER, *((f"192.168.{vlan}.0/24", f"192.168.{vlan}.50 - 192.168.{vlan}.59",
                                     f"192.168.{vlan}.1") for vlan in (10, 11))).begin()
    for name, make, vlan in (("alice", lab.dhclient, 10), ("bob", lab.dhcpcd, 11)):
        lab.kept[name] = make(name)
        address = lab.kept[name].bind()
        lab.expect_that(f"{name}'s {address} is kea's for VLAN {vlan}", address.startswith(f"192.168.{vlan}.5"))
    mark = lab.wire.now()
    lab.kept["bob"].renew()
    lab.expect("bob renews", acknowledged(lab, mark, "bob").address, lab.kept["bob"].address())
    kea.end()


@step("with a route port instead of helpers, requests leave it as they came, or in another VLAN")
def route_port(lab):
    lab.switch.cli("configure", "no service dhcp-relay", "ip dhcp relay route-vlan 0", "service dhcp-relay")
    carl, other = lab.hosts["carl"], lab.hosts["edge"]
    for mode, vlan in (("0", 10), ("2 30", 30)):
        lab.switch.cli("configure", f"ip dhcp relay route-vlan {mode}")
        for option82 in (False, True):
            lab.switch.cli("configure", f"{'' if option82 else 'no '}ip dhcp relay information option")
            client = lab.crafted("carl", f"02:00:00:00:03:{50 + vlan + option82}")
            sent = client.frame(DISCOVER, options=[(12, b"carl")])
            if option82:
                sent = sent[:40] + b"\0\0" + sent[42:]  # no UDP checksum that the option would make wrong
            mark = lab.wire.now()
            carl.send(sent)
            want = with_agent(sent, agent(lab, 10, 3)) if option82 else sent
            same_bytes(lab, f"route-vlan {mode}, {'with' if option82 else 'without'} option 82",
                       arriving(lab, mark, "edge", client), tagged(want, vlan))
            back = from_server(OFFER, other, SERVER, client, "192.168.10.77")
            mark = lab.wire.now()
            other.send(tagged(back, vlan))
            same_bytes(lab, "an answer comes back in the client's VLAN", arriving(lab, mark, "carl", client), back)


@step("a UDP checksum is left as the client made it when option 82 is added on the way to the route port")
def stale_checksum(lab):
    client = lab.crafted("carl", "02:00:00:00:03:60")
    sent = client.frame(DISCOVER)
    mark = lab.wire.now()
    client.host.send(sent)
    got = arriving(lab, mark, "edge", client)
    same_bytes(lab, "at the route port", got, tagged(with_agent(sent, agent(lab, 10, 3), sent[40:42]), 30))
    lab.stale.append(client.xid)
    lab.show("show ip dhcp relay statistics")
