"""Option 82 byte for byte: what the server gets, what the client gets back, and everything else as it was sent."""
from kit.crafted import DISCOVER, OFFER, Reply, dhcp, from_server
from kit.expected import (AGENT, arriving, default_ids, end_at, options_at, put, resized, same_bytes, untagged,
                          with_agent)
from kit.scene import Port, steps_of

TITLE = "A switch that tells the server where a client is"
PORTS = [
    Port(2, "alice", "10"),                     # runs dhclient
    Port(3, "carl", "10"),                      # crafted clients
    Port(4, "serv", "10"),                      # runs the server, a dnsmasq
    Port(11, "tess", "10,2050", trunk=True),    # crafted clients of two VLANs
    Port(12, "far", "2050"),                    # where the server of the second VLAN would be
]
CONFIG = """
vlan 10,2050
ip dhcp snooping
ip dhcp snooping vlan 10,2050
interface gigabitethernet 4
 ip dhcp snooping trust
interface gigabitethernet 12
 ip dhcp snooping trust
"""
SERVER = "192.168.10.1"
LONGEST = "The longest identifier that fits: rack 7, room 12, building 3.."
END, PAD = b"\xff", b"\0"
STEPS, step = steps_of()


def text_id(code, number, text):
    return bytes([code, len(text) + 2, number, len(text)]) + text.encode()


def agent_of(lab, client, host="serv"):
    """Sends a DISCOVER; what the switch put in, having compared the whole frame."""
    sent = client.frame(DISCOVER)
    mark = lab.wire.now()
    client.host.send(sent)
    got = arriving(lab, mark, host, client)
    ours = dict(Reply(got).options)[AGENT]
    same_bytes(lab, "the frame at the server", got, with_agent(untagged(sent), ours))
    return ours


@step("without option 82, messages pass as they are")
def off(lab):
    lab.switch.start(lab.config())
    lab.kept["server"] = lab.dnsmasq("serv", SERVER, "192.168.10.100", "192.168.10.150", "--no-ping").begin()
    carl = lab.crafted("carl", "02:00:00:00:03:10")
    lab.say(carl.discover())
    sent = carl.frame(DISCOVER)
    mark = lab.wire.now()
    carl.host.send(sent)
    same_bytes(lab, "the frame at the server", arriving(lab, mark, "serv", carl), sent)


@step("dhclient's messages reach the server with option 82, the answers reach dhclient without")
def stock(lab):
    lab.switch.cli("configure", "ip dhcp snooping information option")
    mark = lab.wire.now()
    address = lab.dhclient("alice").bind()
    lab.expect_that(f"alice has an address of the server: {address}", address.startswith("192.168.10."))

    def between(host, from_switch, op):
        def matches(frame):
            message = dhcp(frame.data) if frame.host == host and frame.from_switch == from_switch else None
            return message is not None and message.op == op
        return [Reply(frame) for frame in lab.wire.since(mark, matches)]
    asked, answered, received = between("serv", True, 1), between("serv", False, 2), between("alice", True, 2)
    lab.expect("option 82 of her messages at the server", {dict(message.options)[AGENT] for message in asked},
               {default_ids(lab, 10, 2)})
    lab.expect_that("the server's answers carry it, too", all(AGENT in message.codes() for message in answered))
    lab.expect_that("what alice gets does not", received and not any(AGENT in message.codes() for message in received))
    lab.expect("its other options are those that the server sent",
               [[option for option in message.options if option[0] != AGENT] for message in answered],
               [message.options for message in received])


@step("the default ids: VLAN, module 0 and port; the switch's MAC")
def defaults(lab):
    for name, vlan, port, at in (("carl", None, 3, "serv"), ("tess", 10, 11, "serv"), ("tess", 2050, 11, "far")):
        client = lab.crafted(name, f"02:00:00:00:{port:02x}:20", vlan=vlan)
        ours = agent_of(lab, client, at)
        lab.say(ours.hex(" "))
        lab.expect(f"of {name} in VLAN {vlan or 10}", ours, default_ids(lab, vlan or 10, port))


@step("configured strings up to 63 characters, and a link address in sub-option 5")
def strings(lab):
    carl = lab.crafted("carl", "02:00:00:00:03:11")
    lines = "ip dhcp information option"

    def configure(*words):
        lab.switch.cli("configure", *(f"{lines} {word}" if not word.startswith("no ") else f"no {lines} {word[3:]}"
                                      for word in words))
    configure("circuitid 7 fromvlan 10 acsii-string port of carl")
    lab.expect("circuit id", agent_of(lab, carl), text_id(1, 7, "port of carl") + default_ids(lab, 10, 3)[8:])
    configure("remoteid 255 fromvlan 10 acsii-string x", "ip 192.168.10.0 fromvlan 10")
    lab.expect("circuit id, remote id, address", agent_of(lab, carl),
               text_id(1, 7, "port of carl") + text_id(2, 255, "x") + bytes.fromhex("0504c0a80a00"))
    lab.expect("the longest string has", len(LONGEST), 63)
    configure(f"circuitid 1 fromvlan 10 acsii-string {LONGEST}", f"remoteid 2 fromvlan 10 acsii-string {LONGEST[::-1]}")
    lab.expect("both with 63 characters", agent_of(lab, carl),
               text_id(1, 1, LONGEST) + text_id(2, 2, LONGEST[::-1]) + bytes.fromhex("0504c0a80a00"))
    tess = lab.crafted("tess", "02:00:00:00:0b:21", vlan=2050)
    lab.expect("another VLAN has its defaults", agent_of(lab, tess, "far"), default_ids(lab, 2050, 11))
    configure("no circuitid 1 fromvlan 10", "no remoteid 2 fromvlan 10", "no ip 192.168.10.0 fromvlan 10")
    lab.expect("taken back, the defaults", agent_of(lab, carl), default_ids(lab, 10, 3))


@step("a client's own option 82 is kept as it is, wherever it stands, or the frame is dropped when it may bring none")
def own(lab):
    def bringing(client):
        brought = bytes([AGENT, 5, 1, 3]) + b"own"
        plain = client.frame(DISCOVER, options=[(60, b"a vendor"), (12, b"carl")], want=[1, 3, 6])
        frames = {where: put(plain, where, brought) for where in ("first", "in the middle", "last")}
        frames["last, behind pads"] = put(put(client.frame(DISCOVER), "last", PAD * 3), "last", brought)
        return frames

    carl = lab.crafted("carl", "02:00:00:00:03:12")
    for where, sent in bringing(carl).items():
        mark = lab.wire.now()
        carl.host.send(sent)
        same_bytes(lab, where, arriving(lab, mark, "serv", carl), sent)
    lab.switch.cli("configure", "no ip dhcp snooping information client_option")
    # Other clients: copies of the frames that were let through may still be on their way to other ports.
    stopped, follower = lab.crafted("carl", "02:00:00:00:03:15"), lab.crafted("carl", "02:00:00:00:03:13")
    mark = lab.wire.now()
    for sent in bringing(stopped).values():
        carl.host.send(sent)
    carl.host.send(follower.frame(DISCOVER))
    arriving(lab, mark, "serv", follower)
    through = lab.wire.since(mark, lambda frame: frame.from_switch and (message := dhcp(frame.data)) is not None and
                             message.xid == stopped.xid)
    lab.expect("of them at any port", len(through), 0)
    lab.show("show ip dhcp snooping statistics")
    lab.switch.cli("configure", "ip dhcp snooping information client_option")


@step("option 82 is taken out of an answer wherever it stands, and nothing else")
def stripped(lab):
    carl, serv = lab.crafted("carl", "02:00:00:00:03:14"), lab.hosts["serv"]
    lab.kept["server"].freeze()
    agent_of(lab, carl)
    plain = from_server(OFFER, serv, SERVER, carl, "192.168.10.77",
                        [(1, b"\xff\xff\xff\0"), (3, b"\xc0\xa8\x0a\x01"), (15, b"ten.example")])
    ours = bytes([AGENT, 20]) + default_ids(lab, 10, 3)[:18] + b"\x05\0"
    for where in ("first", "in the middle", "last"):
        mark = lab.wire.now()
        serv.send(put(plain, where, ours))
        same_bytes(lab, where, arriving(lab, mark, "carl", carl), resized(plain, 0))
    mark = lab.wire.now()
    twice = put(put(plain, "first", ours), "last", ours)
    serv.send(twice)
    same_bytes(lab, "twice", arriving(lab, mark, "carl", carl), resized(plain, 0))
    mark = lab.wire.now()
    serv.send(plain)
    same_bytes(lab, "an answer without it", arriving(lab, mark, "carl", carl), plain)
    lab.kept["server"].thaw()
