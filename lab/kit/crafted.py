"""A DHCP client whose every field the scene decides, and a close look at what comes back."""
import itertools
import logging
import struct

logging.getLogger("scapy").setLevel(logging.ERROR)  # before it looks at the interfaces
from scapy.layers.dhcp import BOOTP
from scapy.layers.inet import IP, UDP
from scapy.layers.l2 import Dot1Q, Ether
from scapy.packet import Raw

DISCOVER, OFFER, REQUEST, DECLINE, ACK, NAK, RELEASE, INFORM = range(1, 9)
BROADCAST = "ff:ff:ff:ff:ff:ff"
COOKIE = bytes((99, 130, 83, 99))
KINDS = {OFFER: "OFFER", ACK: "ACK", NAK: "NAK"}
_xids = itertools.count(0x1A000001)


def ip_bytes(text):
    return bytes(int(part) for part in text.split("."))


def ip_text(value):
    """An address, or several."""
    return " ".join(".".join(str(byte) for byte in value[at:at + 4]) for at in range(0, len(value), 4))


class Reply:
    """A DHCP answer taken apart down to the option bytes, in the order they stand."""

    def __init__(self, frame):
        packet = Ether(frame.data)
        self.data = frame.data
        self.mac_to, self.mac_from = packet.dst, packet.src
        self.vlan = packet[Dot1Q].vlan if Dot1Q in packet else None
        self.ip_to, self.ip_from = packet[IP].dst, packet[IP].src
        self.ports = (packet[UDP].sport, packet[UDP].dport)
        bootp = packet[BOOTP]
        self.op, self.xid, self.chaddr = bootp.op, bootp.xid, bytes(bootp.chaddr)
        self.address, self.ciaddr, self.giaddr = bootp.yiaddr, bootp.ciaddr, bootp.giaddr
        self.options, self.ended = _options(bytes(packet[UDP].payload)[240:])
        self.kind = KINDS.get(self.value(53)[0], "unexpected message type")

    def value(self, code):
        return next(value for number, value in self.options if number == code)

    def codes(self):
        return [code for code, _ in self.options]

    def __str__(self):
        return f"{self.kind} {self.address} to {self.ip_to} ({self.mac_to}), options {self.codes()}"


def _options(area):
    options, at = [], 0
    while at < len(area):
        code = area[at]
        if code == 255:
            return options, True
        if code == 0:
            at += 1
            continue
        length = area[at + 1]
        options.append((code, area[at + 2:at + 2 + length]))
        at += 2 + length
    return options, False


def dhcp(data):
    """The BOOTP layer of a frame, or None."""
    packet = Ether(data)
    return packet[BOOTP] if BOOTP in packet and UDP in packet else None


def from_server(kind, host, address, client, offered, options=(), to=None):
    """A server's message to a client as the host sends it, without anybody having asked."""
    area = b"".join(struct.pack("BB", code, len(value)) + value for code, value in
                    [(53, bytes([kind])), (54, ip_bytes(address)), (51, struct.pack("!I", 3600)), *options])
    message = BOOTP(op=2, xid=client.xid, yiaddr=offered, siaddr=address,
                    chaddr=bytes.fromhex(client.mac.replace(":", "")))
    return bytes(Ether(src=host.mac, dst=to or client.mac) / IP(src=address, dst=offered) / UDP(sport=67, dport=68) /
                 message / Raw(COOKIE + area + b"\xff"))


class Crafted:
    """One client identity on a host's port. `vlan` tags its frames; `giaddr` makes it speak through a relay agent
    that sits at that host."""

    def __init__(self, wire, host, mac, vlan=None, giaddr="0.0.0.0", client_id=None):
        self.wire, self.host, self.mac, self.vlan, self.giaddr = wire, host, mac, vlan, giaddr
        self.client_id = client_id
        self.server = None  # (address, MAC) of the server that answered last
        self.xid = next(_xids)

    def frame(self, kind, options=(), ciaddr="0.0.0.0", unicast=False, flags=0, want=None):
        relayed = self.giaddr != "0.0.0.0"
        to_mac = self.server[1] if unicast else BROADCAST
        to_ip = self.server[0] if unicast else "255.255.255.255"
        from_ip = self.giaddr if relayed else ciaddr
        fields = [(53, bytes([kind]))]
        if self.client_id is not None:
            fields.append((61, self.client_id))
        fields += options
        if want:
            fields.append((55, bytes(want)))
        area = COOKIE + b"".join(struct.pack("BB", code, len(value)) + value for code, value in fields) + b"\xff"
        message = BOOTP(op=1, xid=self.xid, flags=flags, ciaddr=ciaddr, giaddr=self.giaddr, hops=int(relayed),
                        chaddr=bytes.fromhex(self.mac.replace(":", "")))
        link = Ether(src=self.host.mac if relayed else self.mac, dst=to_mac)
        if self.vlan:
            link /= Dot1Q(vlan=self.vlan)
        return bytes(link / IP(src=from_ip, dst=to_ip) / UDP(sport=67 if relayed else 68, dport=67) / message /
                     Raw(area + bytes(max(0, 64 - len(area)))))

    def send(self, kind, **fields):
        """Sends and gives the mark from which the answer is to be looked for."""
        mark = self.wire.now()
        self.host.send(self.frame(kind, **fields))
        return mark

    def answer(self, mark, seconds=3, host=None):
        """The switch's answer to this client, as seen by a host (the client's own, if none is named)."""
        name = (host or self.host).name

        def mine(frame):
            if frame.host != name or not frame.from_switch:
                return False
            message = dhcp(frame.data)
            return message is not None and message.op == 2 and message.xid == self.xid
        found = self.wire.wait(mark, mine, seconds)
        if found is None:
            return None
        reply = Reply(found)
        if reply.kind != "NAK":
            self.server = (ip_text(reply.value(54)), reply.mac_from)
        return reply

    def ask(self, kind, **fields):
        """Sends and waits for the answer, which must come."""
        reply = self.answer(self.send(kind, **fields))
        if reply is None:
            raise TimeoutError(f"no answer to message type {kind} of {self.mac}")
        return reply

    def discover(self, requested=None, **fields):
        self.xid = next(_xids)
        options = [(50, ip_bytes(requested))] if requested else []
        return self.ask(DISCOVER, options=options, **fields)

    def selecting(self, address):
        """The options of a REQUEST, DECLINE that name an address and the server that gave it."""
        return [(50, ip_bytes(address)), (54, ip_bytes(self.server[0]))]

    def lease(self, **fields):
        """DISCOVER to ACK; the acknowledged address."""
        offer = self.discover(**fields)
        ack = self.ask(REQUEST, options=self.selecting(offer.address))
        if ack.kind != "ACK" or ack.address != offer.address:
            raise RuntimeError(f"offered {offer.address}, then {ack}")
        return ack.address

    def silence(self, kind, **fields):
        """Sends and gives what came back: None when the switch kept silent. It works in order, so once it has
        answered a question sent afterwards, nothing more can come for the first."""
        mark = self.send(kind, **fields)
        follower = Crafted(self.wire, self.host, "02:00:00:00:ff:01", vlan=self.vlan)
        follower.ask(INFORM, ciaddr="192.0.2.9", flags=0x8000)
        return self.answer(mark, seconds=0)
