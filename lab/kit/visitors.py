"""Clients that come while something else happens."""
import threading

from kit.crafted import DISCOVER, REQUEST


class Visitors(threading.Thread):
    """New clients one after the other. A client that hears nothing repeats its message once, then begins anew."""

    def __init__(self, lab, host):
        super().__init__(daemon=True)
        self.lab, self.host, self.ends = lab, host, False
        self.served, self.anew, self.lost = 0, 0, []

    clients = 40  # fewer than any server here has addresses

    def _exchange(self, client):
        def heard(kind, **fields):
            for _ in range(2):
                reply = client.answer(client.send(kind, **fields), seconds=0.5)
                if reply is not None:
                    return reply
            return None
        offer = heard(DISCOVER)
        return offer is not None and heard(REQUEST, options=client.selecting(offer.address)) is not None

    def run(self):
        number = 0
        while not self.ends:
            number += 1
            client = self.lab.crafted(self.host, f"02:00:00:00:13:{number % self.clients:02x}")
            if self._exchange(client):
                self.served += 1
            elif self._exchange(client):
                self.anew += 1
            else:
                self.lost.append(client.mac)

    def end(self):
        self.ends = True
        self.join(10)
