"""Option 82 byte for byte: what the server gets, what the client gets back, and everything else as it was sent."""
import struct

from kit.crafted import DISCOVER, OFFER, Reply, dhcp, from_server
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
AGENT, END, PAD = 82, b"\xff", b"\0"
LINK = 14
STEPS, step = steps_of()


def default_ids(lab, vlan, port):
    """Circuit id: type 0, VLAN, module 0, port. Remote id: type 0, the switch's MAC."""
    circuit = b"\0\x04" + struct.pack("!HBB", vlan, 0, port)
    return bytes([1, 6]) + circuit + bytes([2, 8]) + b"\0\x06" + bytes.fromhex(lab.switch.mac.replace(":", ""))


def text_id(code, number, text):
    return bytes([code, len(text) + 2, number, len(text)]) + text.encode()


def words_sum(header):
    total = sum(struct.unpack(f"!{len(header) // 2}H", header))
    while total > 0xFFFF:
        total = (total & 0xFFFF) + (total >> 16)
    return total ^ 0xFFFF


def resized(frame, size):
    """Both length fields made to fit a DHCP message that is `size` bytes longer, the IP checksum anew, and no UDP
    checksum; `frame` is untagged and already has its new bytes."""
    data = bytearray(frame)
    ip, udp = LINK, LINK + 20
    for at in (ip + 2, udp + 4):
        struct.pack_into("!H", data, at, struct.unpack_from("!H", data, at)[0] + size)
    data[ip + 10:ip + 12] = data[udp + 6:udp + 8] = b"\0\0"
    struct.pack_into("!H", data, ip + 10, words_sum(bytes(data[ip:ip + 20])))
    return bytes(data)


def options_at(frame):
    return frame.index(bytes((99, 130, 83, 99))) + 4


def end_at(frame):
    """Where the End option stands."""
    at = options_at(frame)
    while frame[at] != 255:
        at += 1 if frame[at] == 0 else 2 + frame[at + 1]
    return at


def untagged(frame):
    return frame[:12] + frame[16:] if frame[12:14] == b"\x81\x00" else frame


def with_agent(frame, value):
    """What the server is to get for a client's untagged frame."""
    option = bytes([AGENT, len(value)]) + value
    at = end_at(frame)
    return resized(frame[:at] + option + frame[at:], len(option))


def put(frame, where, option):
    """The frame as its sender would have made it with one option more: first, in the middle, or last."""
    at = options_at(frame)
    ends = end_at(frame)
    if where == "in the middle":
        while at < (options_at(frame) + ends) // 2:
            at += 2 + frame[at + 1]
    elif where == "last":
        at = ends
    return resized(frame[:at] + option + frame[at:], len(option))


def arriving(lab, mark, host, client, seconds=5):
    """The client's next message, or the answer to it, as it comes out at a host."""
    found = lab.wire.wait(mark, lambda frame: frame.from_switch and frame.host == host and
                          (message := dhcp(frame.data)) is not None and message.xid == client.xid, seconds)
    if found is None:
        raise TimeoutError(f"nothing of {client.mac} came out at {host}")
    return found


def same_bytes(lab, what, got, want):
    lab.expect_that(f"{what}: {len(want)} bytes as they should be", got.data == want or
                    lab.say(f"got  {got.data.hex()}\nwant {want.hex()}"))


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
    carl = lab.crafted("carl", "02:00:00:00:03:12")
    brought = bytes([AGENT, 5, 1, 3]) + b"own"
    plain = carl.frame(DISCOVER, options=[(60, b"a vendor"), (12, b"carl")], want=[1, 3, 6])
    frames = {where: put(plain, where, brought) for where in ("first", "in the middle", "last")}
    frames["last, behind pads"] = put(put(carl.frame(DISCOVER), "last", PAD * 3), "last", brought)
    for where, sent in frames.items():
        mark = lab.wire.now()
        carl.host.send(sent)
        same_bytes(lab, where, arriving(lab, mark, "serv", carl), sent)
    lab.switch.cli("configure", "no ip dhcp snooping information client_option")
    follower = lab.crafted("carl", "02:00:00:00:03:13")
    mark = lab.wire.now()
    for sent in frames.values():
        carl.host.send(sent)
    carl.host.send(follower.frame(DISCOVER))
    arriving(lab, mark, "serv", follower)
    through = lab.wire.since(mark, lambda frame: frame.from_switch and (message := dhcp(frame.data)) is not None and
                             message.xid == carl.xid)
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
