"""Frames that are cut short or lie about their lengths: whatever comes, leases stay as they are."""
import re

from kit.crafted import DECLINE, DISCOVER, INFORM, RELEASE, REQUEST, dhcp, ip_bytes
from kit.scene import Port, steps_of

TITLE = "A switch that is sent rubbish"
PORTS = [Port(1, "carl", "10")]  # alone: a switch floods what it does not take for DHCP
OWN, HELD = "192.168.10.1", "192.168.10.10"
CONFIG = f"""
vlan 10
interface vlan 10
 ip address {OWN} 255.255.255.0
 exit
ip dhcp-server
ip dhcp pool 1
 network 192.168.10.0 255.255.255.0 192.168.10.10 192.168.10.200
 exit
"""
OPTIONS = 14 + 20 + 8 + 240
NAMED = [(50, ip_bytes(HELD)), (54, ip_bytes(OWN))]
STEPS, step = steps_of()


@step("the switch starts, and a client has a lease")
def start(lab):
    lab.switch.start(lab.config())
    lab.kept["owner"] = lab.crafted("carl", "02:00:00:00:03:01")
    lab.expect("the client's address", lab.kept["owner"].lease(), HELD)


def messages(client):
    """One of each kind that makes, renews or ends a lease."""
    yield client.frame(DISCOVER)
    yield client.frame(REQUEST, options=NAMED)
    yield client.frame(DECLINE, options=NAMED)
    yield client.frame(RELEASE, options=NAMED, ciaddr=HELD)


def send_all(lab, frames):
    """Sends the frames, with a question now and then so that they do not outrun the switch: its queue is bounded.
    Shows that it dealt with all of them, and that the lease is still there."""
    carl = lab.hosts["carl"]
    prober = lab.crafted("carl", "02:00:00:00:03:02")
    for number, frame in enumerate(frames):
        carl.send(frame)
        if number % 50 == 0:
            prober.ask(INFORM, ciaddr="192.168.10.250")
    prober.ask(INFORM, ciaddr="192.168.10.250")
    queue = lab.switch.cli("show event-queue")
    lab.say(f"{len(frames)} frames sent; the switch's queue:")
    lab.say(queue)
    lab.expect("lost in the queue", re.findall(r"Lost.*?(\d+) events", queue), ["0", "0"])
    lab.expect("bindings", lab.switch.bindings(), {HELD: "02:00:00:00:03:01"})
    lab.expect("conflicts", lab.switch.rows("show ip dhcp conflict"), [])


def answered(lab, mark):
    """Answers to the lease's owner since the mark."""
    owner = lab.kept["owner"]
    return len(lab.wire.since(mark, lambda frame: frame.from_switch and (message := dhcp(frame.data)) is not None and
                              message.op == 2 and message.xid == owner.xid))


@step("frames cut at every length are not answered")
def cut(lab):
    mark = lab.wire.now()
    send_all(lab, [frame[:length] for frame in messages(lab.kept["owner"]) for length in range(14, len(frame))])
    lab.expect("answers", answered(lab, mark), 0)


@step("options that claim to be longer than the frame end the search")
def overlong(lab):
    mark, lies = lab.wire.now(), []
    for frame in messages(lab.kept["owner"]):
        at = OPTIONS
        while frame[at] != 255:
            for length in range(len(frame) - at - 1, 256):
                lies.append(frame[:at + 1] + bytes([length]) + frame[at + 2:])
            at += 2 + frame[at + 1]
    send_all(lab, lies)
    # A REQUEST that lost its last option, the server's address, still names the lease: that one is renewed.
    overruns = range(len(frame) - (OPTIONS + 3 + 6) - 1, 256)
    lab.expect("answers", answered(lab, mark), len(overruns))


@step("the lease's owner can still renew, and others are served")
def after(lab):
    owner = lab.kept["owner"]
    lab.expect("renewed", owner.ask(REQUEST, ciaddr=HELD).address, HELD)
    lab.expect("a new client gets", lab.crafted("carl", "02:00:00:00:03:03").lease(), "192.168.10.11")
