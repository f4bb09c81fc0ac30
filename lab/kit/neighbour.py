"""A machine that is only a MAC: it answers ARP for one address, and what else is sent to it can be looked at."""
import threading

from kit.expected import tagged
from scapy.layers.l2 import ARP, Ether


class Neighbour:
    """Behind a host's port, with its frames in a VLAN's tag."""

    def __init__(self, wire, host, address, mac, vlan):
        self.wire, self.host, self.address, self.mac, self.vlan = wire, host, address, mac, vlan
        self._ends = False
        self._thread = threading.Thread(target=self._answer, daemon=True)
        self._thread.start()

    def _asks(self, frame):
        if not frame.from_switch or frame.host != self.host.name:
            return False
        packet = Ether(frame.data)
        return ARP in packet and packet[ARP].op == 1 and packet[ARP].pdst == self.address

    def _answer(self):
        mark = self.wire.now()
        while not self._ends:
            found = self.wire.wait(mark, self._asks, 0.2)
            if found is None:
                continue
            mark = self.wire.now()
            request = Ether(found.data)[ARP]
            reply = ARP(op=2, hwsrc=self.mac, psrc=self.address, hwdst=request.hwsrc, pdst=request.psrc)
            self.host.send(tagged(bytes(Ether(src=self.mac, dst=request.hwsrc) / reply), self.vlan))

    def leave(self):
        self._ends = True
        self._thread.join(2)
