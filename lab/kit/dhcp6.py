"""DHCPv6 in captured frames, and a client whose every field the scene decides."""
import itertools
import socket
import struct

from kit.ip6 import link_local

SOLICIT, ADVERTISE, REQUEST, CONFIRM, RENEW, REBIND, REPLY, RELEASE, DECLINE = range(1, 10)
NAMES = {SOLICIT: "SOLICIT", ADVERTISE: "ADVERTISE", REQUEST: "REQUEST", CONFIRM: "CONFIRM", RENEW: "RENEW",
         REBIND: "REBIND", REPLY: "REPLY", RELEASE: "RELEASE", DECLINE: "DECLINE"}
SERVERS_MAC, SERVERS = "33:33:00:01:00:02", "ff02::1:2"
_xids = itertools.count(0x2A0001)


def ip6_bytes(text):
    return socket.inet_pton(socket.AF_INET6, text)


def ip6_text(value):
    return socket.inet_ntop(socket.AF_INET6, value)


def mac_bytes(text):
    return bytes.fromhex(text.replace(":", ""))


def option(code, value):
    return struct.pack("!HH", code, len(value)) + value


def options_of(area):
    """Pairs of code and value."""
    options, at = [], 0
    while at + 4 <= len(area):
        code, size = struct.unpack_from("!HH", area, at)
        options.append((code, area[at + 4:at + 4 + size]))
        at += 4 + size
    return options


class Message:
    """A DHCPv6 message of a client or server, taken apart."""

    def __init__(self, frame):
        data = frame.data
        at = 18 if data[12:14] == b"\x81\x00" else 14
        self.frame = frame
        self.vlan = int.from_bytes(data[14:16], "big") & 0xFFF if at == 18 else None
        self.mac_to, self.mac_from = data[:6].hex(":"), data[6:12].hex(":")
        self.ip_from, self.ip_to = ip6_text(data[at + 8:at + 24]), ip6_text(data[at + 24:at + 40])
        self.ports = struct.unpack_from("!HH", data, at + 40)
        message = data[at + 48:]
        self.kind, self.xid = message[0], int.from_bytes(message[1:4], "big")
        self.options = options_of(message[4:])

    def value(self, code):
        return next((value for number, value in self.options if number == code), None)

    def codes(self):
        return [code for code, _ in self.options]

    def status(self):
        """Of the message itself; None when it has none."""
        value = self.value(13)
        return int.from_bytes(value[:2], "big") if value is not None else None

    def lease(self):
        """(address, T1, T2, preferred, valid) of the IA_NA; None without an address."""
        ia = self.value(3)
        inside = dict(options_of(ia[12:])) if ia is not None else {}
        if 5 not in inside:
            return None
        t1, t2 = struct.unpack_from("!II", ia, 4)
        preferred, valid = struct.unpack_from("!II", inside[5], 16)
        return ip6_text(inside[5][:16]), t1, t2, preferred, valid

    def __str__(self):
        return f"{NAMES.get(self.kind, self.kind)} {self.lease()} to {self.ip_to} ({self.mac_to}), options {self.codes()}"


class Relayed:
    """A RELAY-FORW (12) or RELAY-REPL (13), taken apart."""

    def __init__(self, data):
        message = payload(data)
        self.kind, self.hops = message[0], message[1]
        self.link, self.peer = ip6_text(message[2:18]), ip6_text(message[18:34])
        self.options = options_of(message[34:])

    def carried(self):
        return next(value for code, value in self.options if code == 9)

    def __str__(self):
        name = "RELAY-FORW" if self.kind == 12 else "RELAY-REPL"
        return f"{name} hops {self.hops}, link {self.link}, peer {self.peer}, carries {len(self.carried())} bytes"


def payload(data):
    """The DHCPv6 message of a frame; nothing when it has none."""
    at = 18 if data[12:14] == b"\x81\x00" else 14
    if data[at - 2:at] != b"\x86\xdd" or data[at + 6] != 17:
        return b""
    _, port, size = struct.unpack_from("!HHH", data, at + 40)
    return data[at + 48:at + 40 + size] if port in (546, 547) else b""


def arriving(lab, mark, host, kind, from_switch=True, seconds=5):
    """The next frame with a DHCPv6 message of this type that came out at a host, or that it sent."""
    found = lab.wire.wait(mark, lambda frame: frame.from_switch == from_switch and frame.host == host and
                          payload(frame.data)[:1] == bytes([kind]), seconds)
    if found is None:
        raise TimeoutError(f"no message of type {kind} at {host}")
    return found


def relaying(kind, hops, link, peer, message):
    """A relay's message that carries another."""
    return bytes([kind, hops]) + ip6_bytes(link) + ip6_bytes(peer) + option(9, message)


def datagram(mac_from, mac_to, ip_from, ip_to, ports, message, tag=b"", hops=1):
    addresses = ip6_bytes(ip_from) + ip6_bytes(ip_to)
    size = 8 + len(message)
    head = struct.pack("!HHH", *ports, size)
    summed = checksum(addresses + struct.pack("!II", size, 17) + head + b"\0\0" + message)
    return (mac_bytes(mac_to) + mac_bytes(mac_from) + tag + b"\x86\xdd" +
            struct.pack("!IHBB", 6 << 28, size, 17, hops) + addresses + head + struct.pack("!H", summed) + message)


def is_dhcp6(data):
    at = 18 if data[12:14] == b"\x81\x00" else 14
    return (data[at - 2:at] == b"\x86\xdd" and data[at + 6] == 17 and
            struct.unpack_from("!H", data, at + 42)[0] in (546, 547) and data[at + 48] <= 11)


def sent_by(lab, mark, mac, kinds, host=None):
    """DHCPv6 messages of these kinds that a machine sent since the mark, as one host saw them."""
    found = lab.wire.since(mark, lambda frame: frame.data[6:12].hex(":") == mac and is_dhcp6(frame.data) and
                           (host is None or frame.host == host))
    return [message for message in map(Message, found) if message.kind in kinds]


def checksum(data):
    total = sum(struct.unpack(f"!{(len(data) + 1) // 2}H", data + b"\0" * (len(data) % 2)))
    while total > 0xFFFF:
        total = (total & 0xFFFF) + (total >> 16)
    return (total ^ 0xFFFF) or 0xFFFF


class Crafted6:
    """One client at a host: DUID-LL of its MAC, one IA_NA."""

    def __init__(self, wire, host, mac, vlan=None):
        self.wire, self.host, self.mac, self.vlan = wire, host, mac, vlan
        self.duid = b"\0\3\0\1" + mac_bytes(mac)
        self.server = None
        self.xid = next(_xids)

    def ia(self, address=None, preferred=0, valid=0):
        inside = option(5, ip6_bytes(address) + struct.pack("!II", preferred, valid)) if address else b""
        return option(3, struct.pack("!III", 1, 0, 0) + inside)

    def frame(self, kind, options):
        message = bytes([kind]) + self.xid.to_bytes(3, "big") + options
        tag = struct.pack("!HH", 0x8100, self.vlan) if self.vlan else b""
        return datagram(self.mac, SERVERS_MAC, link_local(self.mac), SERVERS, (546, 547), message, tag)

    def send(self, kind, address=None, server=False, more=b""):
        """Client id, server id if wanted, the IA, and more; a mark from which the answer is to be looked for."""
        self.xid = next(_xids)
        options = option(1, self.duid) + (option(2, self.server) if server else b"") + self.ia(address) + more
        mark = self.wire.now()
        self.host.send(self.frame(kind, options))
        return mark

    def answer(self, mark, seconds):
        found = self.wire.wait(mark, lambda frame: frame.host == self.host.name and frame.from_switch and
                               is_dhcp6(frame.data) and Message(frame).xid == self.xid, seconds)
        return Message(found) if found else None

    def ask(self, kind, *args, seconds=3, **more):
        reply = self.answer(self.send(kind, *args, **more), seconds)
        if reply is None:
            raise TimeoutError(f"no answer to the {NAMES[kind]} of {self.mac}")
        self.server = reply.value(2)
        return reply

    def lease(self, **more):
        """SOLICIT to REPLY; the address given."""
        offered = self.ask(SOLICIT, **more).lease()[0]
        given = self.ask(REQUEST, offered, server=True).lease()[0]
        if given != offered:
            raise RuntimeError(f"offered {offered}, given {given}")
        return given

    def silence(self, kind, *args, **more):
        """Sends and gives what came back: None when the switch kept silent. It works in order, so once it has answered
        a question sent afterwards, nothing more can come for the first."""
        mark, xid = self.send(kind, *args, **more), self.xid
        Crafted6(self.wire, self.host, "02:00:00:00:ff:01", self.vlan).ask(SOLICIT)
        self.xid = xid
        return self.answer(mark, 0)
