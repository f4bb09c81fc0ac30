"""One port floods the switch with DISCOVERs of clients that do not exist; everybody else hardly notices."""
import os
import random
import re
import struct
import time

from kit.crafted import DISCOVER, REQUEST
from kit.scene import Port, steps_of
from kit.wire import PACKET_IGNORE_OUTGOING, SOL_PACKET

TITLE = "A switch in a storm of DISCOVERs"
PORTS = [
    Port(1, "alice", "10"),  # crafted clients
    Port(2, "eve", "10"),    # the storm
    Port(3, "serv", "10"),   # runs the server, a dnsmasq
    Port(4, "xena", "10"),   # these two talk to each other
    Port(5, "yuri", "10"),
]
CONFIG = """
vlan 10
ip dhcp snooping
ip dhcp snooping vlan 10
interface gigabitethernet 3
 ip dhcp snooping trust
"""
SERVER = "192.168.10.1"
CLIENT = "02:00:00:00:01:10"
STORM, MOST_BINDINGS = 100_000, 250
MOST_GROWTH_KB = 1024
LEAST_ROUNDS = 20  # of a ping and a renewal while it blows
UNHEARD = "02:ee"  # what the storm's senders begin with; its frames are not kept
STEPS, step = steps_of()


def memory_kb(lab):
    with open(f"/proc/{lab.switch.process.pid}/status", encoding="ascii") as status:
        return int(re.search(r"VmRSS:\s+(\d+)", status.read())[1])


def keeps_what_is_freed(lab):
    """Whether it is built with the address sanitizer: then its memory grows, and leaks show when it stops."""
    with open(f"/proc/{lab.switch.process.pid}/exe", "rb") as program:
        return b"__asan_init" in program.read()


def table_full(lab):
    """DISCOVERs of eve's that found no place in the table."""
    rows = re.findall(r"^Gi2\s+table full\s+(\d+)", lab.switch.cli("show ip dhcp snooping statistics"), re.MULTILINE)
    return int(rows[0]) if rows else 0


def storm(lab, frames, seed=1):
    """Sends from a process of its own, as fast as it can; its id."""
    eve = lab.hosts["eve"]
    frame = bytearray(lab.crafted("eve", eve.mac).frame(DISCOVER))
    frame[40:42] = b"\0\0"  # no UDP checksum, so that it needs no care
    prefix = bytes.fromhex(UNHEARD.replace(":", ""))
    child = os.fork()
    if child != 0:
        return child
    dice = random.Random(seed)
    for _ in range(frames):
        mac = prefix + dice.randbytes(4)
        frame[6:12] = frame[70:76] = mac
        frame[46:50] = mac[2:]
        try:
            eve.mouth.send(frame)
        except OSError:
            pass  # a full queue; the next one
    os._exit(0)


def over(child):
    return os.waitpid(child, os.WNOHANG)[0] == child


@step("a known client, and two hosts that talk to each other")
def start(lab):
    lab.switch.start(lab.config())
    lab.dnsmasq("serv", SERVER, "192.168.10.100", "192.168.10.250", "--no-ping").begin()
    client = lab.kept["client"] = lab.crafted("alice", CLIENT)
    lab.kept["address"] = client.lease()
    for name, last in (("xena", 21), ("yuri", 22)):
        lab.hosts[name].net.run("ip", "address", "add", f"192.168.10.{last}/24", "dev", name)
    lab.expect("xena's ping is answered by yuri",
               lab.speaker("xena", "192.168.10.21").answered(lab.hosts["yuri"], "192.168.10.22"), True)
    lab.hosts["eve"].ears.setsockopt(SOL_PACKET, PACKET_IGNORE_OUTGOING, 1)
    lab.show("show ip dhcp snooping binding")


@step(f"{STORM} DISCOVERs: the table stops at {MOST_BINDINGS}, the client renews, others' pings are answered")
def blows(lab):
    os.waitpid(storm(lab, 2000, seed=0), 0)  # what grows with the first of them does not count
    lab.wait_until(lambda: table_full(lab) > 0, 10, "the table to be full")
    memory, full, began = memory_kb(lab), table_full(lab), time.monotonic()
    xena, yuri, client = lab.speaker("xena", "192.168.10.21"), lab.hosts["yuri"], lab.kept["client"]
    child, sent = storm(lab, STORM), STORM
    rounds, answered, renewals, most = 0, 0, 0, 0
    while not (gone := over(child)) or rounds < LEAST_ROUNDS:
        if gone:  # it was over so soon that nothing can be said yet
            sent += STORM
            child = storm(lab, STORM, seed=sent)
        rounds += 1
        answered += xena.answered(yuri, "192.168.10.22", 1)
        ack = client.answer(client.send(REQUEST, ciaddr=lab.kept["address"]), seconds=1)
        renewals += ack is not None and (ack.kind, ack.address) == ("ACK", lab.kept["address"])
        most = max(most, len(lab.switch.snooped()))
    seconds = time.monotonic() - began
    lab.say(f"{sent} frames in {seconds:.1f} s, {table_full(lab) - full} of them inspected in vain")
    lab.say(f"{answered} of {rounds} pings answered, {renewals} of {rounds} renewals acknowledged")
    lab.expect("most bindings seen", most, MOST_BINDINGS)
    lab.expect_that("pings went on being answered", answered >= 0.9 * rounds)
    lab.expect_that("the client could renew, now and then at a second try", renewals >= 0.5 * rounds)
    grown = memory_kb(lab) - memory
    lab.expect_that(f"memory grew by {grown} of {memory} kB", grown <= MOST_GROWTH_KB or keeps_what_is_freed(lab))


@step("the known client's binding is as it was; new ones get in again when the storm's are cleared")
def afterwards(lab):
    lab.expect("its row", lab.switch.snooped()[CLIENT], (lab.kept["address"], 10, "Gi1", "3600", "dynamic", "bound"))
    late = lab.crafted("alice", "02:00:00:00:01:11")
    lab.expect("answer to a new client", late.answer(late.send(DISCOVER), seconds=1), None)
    lab.switch.cli("clear ip dhcp snooping binding dynamic interface gigabitethernet 2")
    lab.expect("bindings left", list(lab.switch.snooped()), [CLIENT])
    lab.say(f"the new client gets {late.lease()}")
    lab.show("show ip dhcp snooping statistics", "show event-queue")
