"""A machine that is only a MAC: it answers for its one address, and what else is sent to it can be looked at."""
import threading

from kit.expected import tagged
from scapy.layers.inet6 import ICMPv6ND_NA, ICMPv6ND_NS, ICMPv6NDOptDstLLAddr, IPv6
from scapy.layers.l2 import ARP, Ether


class Neighbour:
    """Behind a host's port, with its frames in a VLAN's tag. It answers ARP, or neighbour solicitations."""

    def __init__(self, wire, host, address, mac, vlan):
        self.wire, self.host, self.address, self.mac, self.vlan = wire, host, address, mac, vlan
        self._ends = False
        self._thread = threading.Thread(target=self._answer, daemon=True)
        self._thread.start()

    def _asks(self, frame):
        return frame.from_switch and frame.host == self.host.name and self._reply(Ether(frame.data)) is not None

    def _reply(self, asked):
        """What it says to this; None when it is not asked."""
        if ARP in asked and asked[ARP].op == 1 and asked[ARP].pdst == self.address:
            return ARP(op=2, hwsrc=self.mac, psrc=self.address, hwdst=asked[ARP].hwsrc, pdst=asked[ARP].psrc)
        if ICMPv6ND_NS in asked and asked[ICMPv6ND_NS].tgt == self.address:
            return (IPv6(src=self.address, dst=asked[IPv6].src, hlim=255) /
                    ICMPv6ND_NA(tgt=self.address, R=0, S=1, O=1) / ICMPv6NDOptDstLLAddr(lladdr=self.mac))
        return None

    def _answer(self):
        mark = self.wire.now()
        while not self._ends:
            found = self.wire.wait(mark, self._asks, 0.2)
            if found is None:
                continue
            mark = self.wire.now()
            asked = Ether(found.data)
            self.host.send(tagged(bytes(Ether(src=self.mac, dst=asked.src) / self._reply(asked)), self.vlan))

    def leave(self):
        self._ends = True
        self._thread.join(2)
