"""The DHCP server on two VLANs: stock clients, crafted clients, a relay agent, and a restart."""
from kit.crafted import BROADCAST, DECLINE, DISCOVER, INFORM, RELEASE, REQUEST, dhcp, ip_bytes, ip_text
from kit.scene import Port, steps_of

TITLE = "A switch that leases addresses on two VLANs"
PORTS = [
    Port(1, "alice", "10"),  # runs dhclient
    Port(2, "bob", "10"),    # runs dhcpcd
    Port(3, "carl", "10"),   # crafted clients, and a relay agent
    Port(4, "dora", "20"),   # runs dhclient
    Port(5, "tess", "10,20", trunk=True),
]
CONFIG = """
vlan 10,20
interface vlan 10
 ip address 192.168.10.1 255.255.255.0
 exit
interface vlan 20
 ip address 192.168.20.1 255.255.255.0
 exit
ip dhcp-server
ip dhcp pool 10
 network 192.168.10.0 255.255.255.0 192.168.10.1 192.168.10.40
 default-router 192.168.10.1 192.168.10.2
 dns-server 192.168.10.3 192.168.10.4
 domain-name ten.example
 option 150 ip 192.168.10.3
 option 43 hex 0104c0a80a03
 host 02:00:00:00:03:77 192.168.10.7
 exit
ip dhcp pool 20
 network 192.168.20.0 255.255.255.0 192.168.20.50 192.168.20.60
 lease 0 1 30
 default-router 192.168.20.1
 domain-name twenty.example
 exit
ip dhcp pool 30
 network 192.168.30.0 255.255.255.0 192.168.30.10 192.168.30.20
 exit
ip dhcp pool 40
 network 192.168.40.0 255.255.255.0 192.168.40.10 192.168.40.20
 option 100 ascii %s
 option 101 ascii %s
 option 102 ascii %s
 exit
ip dhcp excluded-address 192.168.10.2 192.168.10.4
ip dhcp excluded-address 192.168.10.12
""" % ("a" * 100, "b" * 100, "c" * 100)
# Pool 10 begins at the switch's own address, goes on with an excluded range, and keeps 192.168.10.7 for one client.
OWN, EXCLUDED, FIRST, SECOND, STATIC, THIRD = ("192.168.10.%d" % last for last in (1, 3, 5, 6, 7, 8))
STATIC_MAC = "02:00:00:00:03:77"
STEPS, step = steps_of()


def seconds(reply):
    return int.from_bytes(reply.value(51), "big")


@step("the switch starts from its configuration")
def start(lab):
    lab.say(lab.config())
    lab.switch.start(lab.config())
    lab.show("show ip dhcp server | include status", "show ip dhcp excluded-address", "show ip dhcp host")


@step("dhclient gets the lowest free address: not the switch's own, not an excluded one")
def first_client(lab):
    lab.kept["alice"] = lab.dhclient("alice")
    lab.expect("alice's address", lab.kept["alice"].bind(), FIRST)


@step("dhcpcd gets the next")
def second_client(lab):
    lab.kept["bob"] = lab.dhcpcd("bob")
    lab.expect("bob's address", lab.kept["bob"].bind(), SECOND)
    lab.show("show ip dhcp binding")
    lab.expect("bindings", lab.switch.bindings(), {
        FIRST: lab.hosts["alice"].mac, SECOND: lab.hosts["bob"].mac})


@step("another client's static address is skipped, and the offer's options stand in order")
def option_order(lab):
    carl = lab.crafted("carl", "02:00:00:00:03:10")
    offer = carl.discover(want=[15, 1, 44, 6, 3, 13])
    lab.say(offer)
    lab.expect("address offered", offer.address, THIRD)
    lab.expect("options", offer.codes(), [53, 54, 51, 15, 1, 6, 3, 13, 43, 150])
    lab.expect_that("they end with 255", offer.ended)
    values = dict(offer.options)
    lab.expect("server", ip_text(values[54]), OWN)
    lab.expect("lease time", seconds(offer), 86400)
    lab.expect("domain name", values[15].decode(), "ten.example")
    lab.expect("routers", ip_text(values[3]), "192.168.10.1 192.168.10.2")
    lab.expect("DNS servers", ip_text(values[6]), "192.168.10.3 192.168.10.4")
    lab.expect("from and to port", offer.ports, (67, 68))
    lab.expect("sent to", (offer.mac_to, offer.ip_to), (BROADCAST, "255.255.255.255"))
    ack = carl.ask(REQUEST, options=carl.selecting(THIRD), want=[1])
    lab.expect("acknowledged", (ack.kind, ack.address), ("ACK", THIRD))
    lab.expect("options of the ACK", ack.codes(), [53, 54, 51, 1, 43, 150])
    lab.kept["carl"] = carl


@step("a renewal by unicast: dhcpcd is told to renew")
def unicast_renewal(lab):
    bob = lab.hosts["bob"]
    mark = lab.wire.now()
    lab.kept["bob"].renew()
    request = lab.wire.wait(mark, lambda frame: not frame.from_switch and frame.host == "bob" and
                            dhcp(frame.data) is not None, 5)
    lab.expect("bob asks with his address filled in", dhcp(request.data).ciaddr, SECOND)
    lab.expect_that("bob asks the switch alone", request.data[:6] != b"\xff" * 6)
    answer = lab.wire.wait(mark, lambda frame: frame.from_switch and frame.host == "bob" and
                           dhcp(frame.data) is not None, 5)
    lab.expect("address in the answer", dhcp(answer.data).yiaddr, SECOND)
    lab.expect("sent to", answer.data[:6].hex(":"), bob.mac)
    heard = lab.wire.since(mark, lambda frame: frame.from_switch and frame.host in ("alice", "carl") and
                           dhcp(frame.data) is not None)
    lab.expect("others that saw the answer", [frame.host for frame in heard], [])


@step("a renewal by broadcast is answered to the client alone; one for an unknown lease is not answered")
def broadcast_renewal(lab):
    carl = lab.kept["carl"]
    ack = carl.ask(REQUEST, ciaddr=THIRD)
    lab.say(ack)
    lab.expect("acknowledged", (ack.kind, ack.address), ("ACK", THIRD))
    lab.expect("sent to", (ack.mac_to, ack.ip_to), (carl.mac, THIRD))
    ack = carl.ask(REQUEST, ciaddr=THIRD, flags=0x8000)
    lab.expect("with the broadcast flag, sent to", (ack.mac_to, ack.ip_to), (BROADCAST, "255.255.255.255"))
    stranger = lab.crafted("carl", "02:00:00:00:03:11")
    lab.expect("answer to a stranger's renewal", stranger.silence(REQUEST, ciaddr="192.168.10.33"), None)


@step("release removes the row, and the address is the lowest free one again")
def release(lab):
    lab.kept["alice"].release()
    lab.wait_until(lambda: FIRST not in lab.switch.bindings(), 5, "the row to go")
    lab.show("show ip dhcp binding")
    lab.expect("bindings left", sorted(lab.switch.bindings()), [SECOND, THIRD])
    visitor = lab.crafted("carl", "02:00:00:00:03:12")
    lab.expect("a visitor gets", visitor.lease(), FIRST)
    visitor.send(RELEASE, ciaddr=FIRST, options=[(54, ip_bytes(OWN))], unicast=True)
    lab.wait_until(lambda: FIRST not in lab.switch.bindings(), 5, "the visitor's row to go")


@step("a declined address becomes a conflict and is not offered again")
def decline(lab):
    visitor = lab.crafted("carl", "02:00:00:00:03:13")
    address = visitor.lease()
    lab.expect("address leased, then declined", address, FIRST)
    visitor.send(DECLINE, options=visitor.selecting(address))
    lab.wait_until(lambda: lab.switch.rows("show ip dhcp conflict"), 5, "a conflict")
    lab.show("show ip dhcp conflict", "show ip dhcp binding")
    lab.expect("in conflict", [row[0] for row in lab.switch.rows("show ip dhcp conflict")], [FIRST])
    lab.expect_that("its binding is gone", FIRST not in lab.switch.bindings())
    other = lab.crafted("carl", "02:00:00:00:03:14")
    lab.expect("the next client is offered", other.discover().address, "192.168.10.9")
    lab.kept["other"] = other


@step("asking for an address that is not free brings the lowest free one, a free one is given as asked")
def requested(lab):
    client, lowest = lab.kept["other"], "192.168.10.9"
    for why, address in (("the switch's own", OWN), ("excluded", EXCLUDED), ("in conflict", FIRST),
                         ("held by bob", SECOND), ("kept for another client", STATIC),
                         ("outside the range", "192.168.10.41")):
        lab.expect(f"asking for {address} ({why}), offered", client.discover(requested=address).address, lowest)
    lab.expect("asking for 192.168.10.30, offered", client.discover(requested="192.168.10.30").address,
               "192.168.10.30")
    lab.expect("asking for nothing, offered the same again", client.discover().address, "192.168.10.30")


@step("an offer is held for 5 seconds; a later REQUEST gets a NAK")
def late_request(lab):
    late, waiting = (lab.crafted("carl", f"02:00:00:00:03:{last}") for last in ("16", "17"))
    offered = late.discover(requested="192.168.10.35")
    chosen = late.selecting(offered.address)
    lab.expect("offered", offered.address, "192.168.10.35")
    lab.expect_that("another client cannot have it now", waiting.discover(requested=offered.address).address !=
                    offered.address)
    lab.wait_until(lambda: waiting.discover(requested=offered.address).address == offered.address, 12,
                   "the offer to end")
    nak = late.ask(REQUEST, options=chosen)
    lab.say(nak)
    lab.expect("answer to the late request", (nak.kind, nak.address, nak.codes()), ("NAK", "0.0.0.0", [53, 54]))
    lab.expect("sent to", (nak.mac_to, nak.ip_to), (BROADCAST, "255.255.255.255"))


@step("INFORM is acknowledged without an address and without parameters")
def inform(lab):
    client = lab.crafted("carl", "02:00:00:00:03:18")
    ack = client.ask(INFORM, ciaddr="192.168.10.200", want=[1, 3, 6, 15])
    lab.say(ack)
    lab.expect("answer", (ack.kind, ack.address, ack.codes()), ("ACK", "0.0.0.0", [53, 54]))
    lab.expect("sent to", (ack.mac_to, ack.ip_to), (client.mac, "192.168.10.200"))


@step("a static host is offered its address, and gets no ACK for it")
def static_host(lab):
    client = lab.crafted("carl", STATIC_MAC)
    lab.expect("offered", client.discover().address, STATIC)
    lab.expect("answer to its request", client.silence(REQUEST, options=client.selecting(STATIC)), None)


@step("a request through a relay agent is answered to the agent, at port 68")
def relayed(lab):
    agent = lab.hosts["carl"]
    client = lab.crafted("carl", "02:00:00:00:03:19", giaddr="192.168.30.1")
    offer = client.discover(want=[1])
    lab.say(offer)
    lab.expect("offered", offer.address, "192.168.30.10")
    lab.expect("sent to", (offer.mac_to, offer.ip_to, offer.ports), (agent.mac, "192.168.30.1", (67, 68)))
    ack = client.ask(REQUEST, options=client.selecting(offer.address))
    lab.expect("acknowledged to", (ack.kind, ack.mac_to, ack.ip_to), ("ACK", agent.mac, "192.168.30.1"))
    nak = client.ask(REQUEST, options=client.selecting("192.168.30.15"))
    lab.expect("a refusal goes to", (nak.kind, nak.mac_to, nak.ip_to), ("NAK", agent.mac, "192.168.30.1"))


@step("more options than fit into 312 bytes: no answer, and no binding stays")
def too_many_options(lab):
    client = lab.crafted("carl", "02:00:00:00:03:1a", giaddr="192.168.40.1")
    lab.expect("answer", client.silence(DISCOVER), None)
    lab.switch.cli("configure", "ip dhcp pool 40", "no option 102")
    lab.expect("with one option less, offered", client.discover().address, "192.168.40.10")


@step("two VLANs, two pools: each serves its own clients, on access ports and on a trunk")
def two_vlans(lab):
    mark = lab.wire.now()
    lab.kept["dora"] = lab.dhclient("dora")
    lab.expect("dora's address in VLAN 20", lab.kept["dora"].bind(), "192.168.20.50")
    answers = lab.wire.since(mark, lambda frame: frame.from_switch and dhcp(frame.data) is not None and
                             dhcp(frame.data).op == 2)
    lab.expect("hosts that her answers reached", sorted({frame.host for frame in answers}), ["dora", "tess"])
    for vlan in (20, 10):
        client = lab.crafted("tess", f"02:00:00:00:05:{vlan}", vlan=vlan)
        offer = client.discover()
        lab.say(offer)
        lab.expect(f"tag of the answer to tess in VLAN {vlan}", offer.vlan, vlan)
        lab.expect_that(f"{offer.address} is of that VLAN's network", offer.address.startswith(f"192.168.{vlan}."))
        ack = client.ask(REQUEST, options=client.selecting(offer.address))
        lab.expect("acknowledged", (ack.kind, ack.address, ack.vlan), ("ACK", offer.address, vlan))
    lab.expect("lease time in VLAN 20", seconds(lab.crafted("tess", "02:00:00:00:05:21", vlan=20).discover()), 5400)
    lab.show("show ip dhcp binding", "show mac address-table")


@step("a wrong line stops the load with file, line and reason, and the switch does not start")
def wrong_line(lab):
    lab.expect("exit status of the switch when it is stopped", lab.switch.stop(), 0)
    lines = lab.config().splitlines()
    at = lines.index("ip dhcp pool 20") + 1
    lines[at] = " network 192.168.20.0 255.255.255.0 192.168.20.60 192.168.20.50"
    try:
        lab.switch.start("\n".join(lines))
    except RuntimeError as error:
        lab.say(error)
        lab.expect_that("it names file and line", f"{lab.switch.config}:{at + 1}:" in str(error))
        lab.expect_that("it gives the reason", "the range ends before it begins" in str(error))
    else:
        raise RuntimeError("the switch started from a wrong configuration")
    lab.expect("its exit status", lab.switch.process.returncode, 1)
    lab.expect("devices that it left behind", lab.devices("eth"), [])


@step("saved, loaded and saved again, the configuration is the same")
def save_and_restart(lab):
    def saved():
        lab.switch.cli("write memory")
        with open(lab.switch.config, encoding="utf-8") as file:
            return file.read().splitlines()

    def restarted():
        lab.expect("exit status", lab.switch.stop(), 0)
        lab.switch.start()
        return saved()
    lab.switch.start(lab.config())
    first = saved()
    second, third = restarted(), restarted()
    lab.say("\n".join(third))
    lab.expect_that("after one restart the lines are the same, in the other order where lists are kept newest first",
                    second != first and in_blocks(second) == in_blocks(first))
    lab.expect_that("after two restarts the file is the same", third == first)
    lab.expect("alice's dhclient gets its address again", lab.dhclient("alice").bind(), FIRST)
    lab.show("show ip dhcp binding")


def in_blocks(lines):
    """Configuration lines with the block they stand in, in no particular order."""
    rows, block = [], ""
    for line in map(str.strip, lines):
        if line.startswith(("interface ", "ip dhcp pool ")):
            block = line
        rows.append((block, line))
        if line in ("exit", "!"):
            block = ""
    return sorted(rows)
