"""Plain traffic of a host that claims a MAC and an address, rightly or not, and whether the switch lets it through.

A switch that drops a frame says nothing. But it keeps the order between two ports, and no guard looks at a frame that
is neither IP nor ARP: so when such a frame, sent afterwards, has come through, the one before it never will.
"""
import itertools

from kit.crafted import BROADCAST
from scapy.layers.inet import ICMP, IP
from scapy.layers.inet6 import ICMPv6EchoReply, ICMPv6EchoRequest, IPv6
from scapy.layers.l2 import ARP, Ether
from scapy.packet import Raw

LOCAL_EXPERIMENT = 0x88B5  # an EtherType that nobody uses
_numbers = itertools.count(1)


class Speaker:
    def __init__(self, wire, host, ip, mac=None):
        self.wire, self.host, self.ip, self.mac = wire, host, ip, mac or host.mac

    def _arrives(self, frame, marker, to, seconds=5):
        """Whether the frame comes out at the host `to`."""
        end = b"the frame behind " + marker
        mark = self.wire.now()
        self.host.send(frame)
        self.host.send(bytes(Ether(src=self.host.mac, dst=to.mac, type=LOCAL_EXPERIMENT) / Raw(end)))
        found = self.wire.wait(mark, lambda seen: seen.from_switch and seen.host == to.name and marker in seen.data,
                               seconds)
        if found is None:
            raise TimeoutError(f"nothing at all came from {self.host.name} to {to.name}")
        return end not in found.data

    def _echo(self, to, to_ip):
        marker = b"echo %08d of the lab" % next(_numbers)
        six = ":" in self.ip
        packet = IPv6(src=self.ip, dst=to_ip) / ICMPv6EchoRequest() if six else IP(src=self.ip, dst=to_ip) / ICMP(id=0x1ab)
        packet /= Raw(marker)
        return marker, bytes(Ether(src=self.mac, dst=to.mac) / packet)

    def reaches(self, to, to_ip):
        """Whether an ICMP echo request arrives at the host."""
        marker, frame = self._echo(to, to_ip)
        return self._arrives(frame, marker, to)

    def answered(self, to, to_ip, seconds=3):
        """Whether an ICMP echo request is answered; the address must really be this host's."""
        marker, frame = self._echo(to, to_ip)
        mark = self.wire.now()
        self.host.send(frame)

        def reply(seen):
            if not seen.from_switch or seen.host != self.host.name or marker not in seen.data:
                return False
            packet = Ether(seen.data)
            return ICMPv6EchoReply in packet or ICMP in packet and packet[ICMP].type == 0
        return self.wire.wait(mark, reply, seconds) is not None

    def asks_for(self, to, wanted, sender=None):
        """Whether an ARP request arrives at the host: this one's, or one in which it calls itself `sender`."""
        marker = b"arp %08d of the lab" % next(_numbers)
        request = ARP(op=1, hwsrc=sender or self.mac, psrc=self.ip, hwdst="00:00:00:00:00:00", pdst=wanted)
        return self._arrives(bytes(Ether(src=self.mac, dst=BROADCAST) / request / Raw(marker)), marker, to)
