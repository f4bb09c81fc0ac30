"""Many crafted clients that ask in one breath, and are patient as clients are: who hears nothing asks again."""
import time

from kit import crafted, dhcp6

BREATH = 12  # ask at once
PATIENCE = 2  # seconds until one asks again


class Caller:
    """A client at a host: what it was offered, what it holds, and who gave it."""

    def __init__(self, lab, host, mac):
        self.lab, self.host, self.mac = lab, host, mac
        self.offered = self.address = self.server = None

    def hears(self, kind, seconds):
        """The address in the answer of this kind; None when there is none."""
        reply = self.client.answer(self.mark, max(0, seconds))
        return self.taken(reply) if reply is not None and reply.kind == kind else None

    def is_offered(self, seconds):
        self.offered = self.hears(self.offer, seconds)
        return self.offered is not None

    def leases(self, seconds):
        given = self.hears(self.acknowledgement, seconds)
        self.address = given or self.address
        return given is not None


class Caller4(Caller):
    family, offer, acknowledgement = 4, "OFFER", "ACK"

    def discovers(self):
        self.client = self.lab.crafted(self.host, self.mac)
        self.mark = self.client.send(crafted.DISCOVER)

    def requests(self):
        self.mark = self.client.send(crafted.REQUEST, options=self.client.selecting(self.offered))

    def rebinds(self):
        self.client = self.lab.crafted(self.host, self.mac)
        self.mark = self.client.send(crafted.REQUEST, ciaddr=self.address)

    def taken(self, reply):
        self.server = crafted.ip_text(reply.value(54))
        return reply.address


class Caller6(Caller):
    family, offer, acknowledgement = 6, dhcp6.ADVERTISE, dhcp6.REPLY

    def discovers(self):
        self.client = self.lab.crafted6(self.host, self.mac)
        self.mark = self.client.send(dhcp6.SOLICIT)

    def requests(self):
        self.mark = self.client.send(dhcp6.REQUEST, self.offered, server=True)

    def rebinds(self):
        self.mark = self.client.send(dhcp6.REBIND, self.address)

    def taken(self, reply):
        self.server = self.client.server = reply.value(2)
        lease = reply.lease()
        return lease and lease[0]


def breaths(callers):
    return (callers[at:at + BREATH] for at in range(0, len(callers), BREATH))


def in_time(callers, heard):
    """Those for whom `heard` says so before their patience is over."""
    until = time.monotonic() + PATIENCE
    return [caller for caller in callers if heard(caller, until - time.monotonic())]


def discover(callers):
    """Those who are offered an address."""
    for caller in callers:
        caller.discovers()
    return in_time(callers, lambda caller, seconds: caller.is_offered(seconds))


def request(callers):
    """Those who are given what they were offered."""
    for caller in callers:
        caller.requests()
    return in_time(callers, lambda caller, seconds: caller.leases(seconds))


def rebind(callers):
    """Those who are given their address again."""
    for caller in callers:
        caller.rebinds()
    return in_time(callers, lambda caller, seconds: caller.leases(seconds))


def until_all(callers, attempt, seconds, what):
    """Repeats the attempt for those without success; how many rounds it took."""
    deadline, waiting, rounds = time.monotonic() + seconds, list(callers), 0
    while waiting:
        if time.monotonic() > deadline:
            raise TimeoutError(f"waited {seconds} s for {what}; not so for {[caller.mac for caller in waiting]}")
        done = [caller for breath in breaths(waiting) for caller in attempt(breath)]
        waiting, rounds = [caller for caller in waiting if caller not in done], rounds + 1
    return rounds


def lease(callers, seconds=30):
    return until_all(callers, lambda breath: request(discover(breath)), seconds, "a lease for everybody")
