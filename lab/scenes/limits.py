"""The servers' limits: pools, hosts, addresses in a line, bindings, lengths of client identifiers, clients at once."""
import re
import signal

from kit.crafted import DISCOVER, RELEASE, dhcp, ip_bytes
from kit.dhcp6 import ADVERTISE, SOLICIT, Message, is_dhcp6, option
from kit.scene import Port, steps_of
from kit.wire import PACKET_IGNORE_OUTGOING, SOL_PACKET

TITLE = "How much the server holds"
PORTS = [Port(1, "carl", "10")]
LOG_LEVEL = 7
OWN, MOST_BINDINGS = "192.168.8.1", 500
CONFIG = f"""
vlan 10
interface vlan 10
 ip address {OWN} 255.255.252.0
 ipv6 address 2001:db8:8::1/64
 exit
ip dhcp-server
service dhcpv6-server
ipv6 dhcp pool 1
 network-address 2001:db8:8::1:0 64
 exit
ip dhcp pool 1
 network 192.168.8.0 255.255.252.0 192.168.8.2 192.168.11.254
 exit
"""
BURST = 400  # clients at once: more than the event queue holds, fewer than the servers' bindings
VENDOR_SAYS = 720  # bytes of options
STEPS, step = steps_of()


def queue(lab):
    """Figures of `show event-queue`: "Waiting", "Highest", "Posted", "Lost, queue full", "Lost, above rate limit"."""
    rows = re.findall(r"^(\S.*?)\s{2,}(\d+)", lab.switch.cli("show event-queue"), re.MULTILINE)
    return {name: int(value) for name, value in rows}


def at_once(lab, frames):
    """The frames wait in the port's ring while the switch stands still, and then come all at once; what the queue's
    figures have grown by when it is done."""
    before = queue(lab)
    # The answers are what is to be heard; what is sent would fill the same buffer.
    lab.hosts["carl"].ears.setsockopt(SOL_PACKET, PACKET_IGNORE_OUTGOING, 1)
    lab.switch.process.send_signal(signal.SIGSTOP)
    try:
        for frame in frames:
            lab.hosts["carl"].send(frame)
    finally:
        lab.switch.process.send_signal(signal.SIGCONT)
        lab.hosts["carl"].ears.setsockopt(SOL_PACKET, PACKET_IGNORE_OUTGOING, 0)

    def handled():
        now = queue(lab)
        grown = {name: now[name] - before[name] for name in now}
        taken = grown["Posted"] + grown["Lost, queue full"] + grown["Lost, above rate limit"]
        return grown if taken >= len(frames) and now["Waiting"] == 0 else None
    return lab.wait_until(handled, 20, "the switch to have seen the burst")


def discovers(lab):
    """Every other one is so long that it waits beside the port's ring."""
    clients = [lab.crafted("carl", f"02:00:00:04:{number >> 8:02x}:{number & 255:02x}") for number in range(BURST)]
    talk = [(43, bytes(VENDOR_SAYS // 3))] * 3
    return {client.xid: client.frame(DISCOVER, options=talk if number % 2 else ()) for number, client in enumerate(clients)}


def solicits(lab):
    clients = [lab.crafted6("carl", f"02:00:00:06:{number >> 8:02x}:{number & 255:02x}") for number in range(BURST)]
    talk = option(17, bytes(VENDOR_SAYS))
    return {client.xid: client.frame(SOLICIT, option(1, client.duid) + client.ia() + (talk if number % 2 else b""))
            for number, client in enumerate(clients)}


def offer_of(frame):
    """(transaction, address) of an OFFER."""
    message = dhcp(frame.data)
    return (message.xid, message.yiaddr) if message is not None and message.op == 2 else None


def advertise_of(frame):
    message = Message(frame) if is_dhcp6(frame.data) else None
    lease = message.lease() if message is not None and message.kind == ADVERTISE else None
    return (message.xid, lease[0]) if lease else None


def answers(lab, mark, read, wanted, seconds=5):
    """Transaction -> address of the answers to these transactions, once there are so many, or the time is over."""
    seen = {}

    def count():
        nonlocal mark
        frames = lab.wire.since(mark, lambda frame: True)
        mark += len(frames)
        for answer in (read(frame) for frame in frames if frame.from_switch):
            if answer is not None and answer[0] in wanted:
                seen[answer[0]] = answer[1]
        return len(seen) >= len(wanted)
    try:
        lab.wait_until(count, seconds, "every answer")
    except TimeoutError:
        pass  # the step says how many there are
    return seen


@step("the switch starts from its configuration")
def start(lab):
    lab.switch.start(lab.config())


@step("the lists refuse what does not fit, with a reason")
def lists(lab):
    for pool in range(2, 11):
        lab.switch.cli("configure", f"ip dhcp pool {pool}")
    for last in range(2, 12):
        lab.switch.cli("configure", "ip dhcp pool 1", f"host 02:00:00:00:08:{last:02x} 192.168.11.{last}")
    addresses = [f"192.168.8.{last}" for last in range(11, 20)]
    for words in ("default-router", "dns-server"):
        lab.switch.cli("configure", "ip dhcp pool 1", " ".join([words, *addresses[:8]]))
    too_much = (("ip dhcp pool 11",),
                ("ip dhcp pool 1", "host 02:00:00:00:08:ff 192.168.11.99"),
                ("ip dhcp pool 1", " ".join(["default-router", *addresses])),
                ("ip dhcp pool 1", " ".join(["dns-server", *addresses])),
                ("ip dhcp pool 1", "domain-name " + "d" * 256),
                ("ip dhcp pool 1", "server-name " + "s" * 65),
                ("ip dhcp pool 1", "boot-file-name " + "b" * 129))
    before = lab.switch.cli("show running-config")
    for commands in too_much:
        reason = lab.switch.refuses("configure", *commands)
        lab.expect_that(f"{commands[-1][:40]}... is refused", reason)
        lab.say(reason.splitlines()[0])
    lab.expect_that("the configuration is as before", lab.switch.cli("show running-config") == before)
    lab.switch.cli("configure", "ip dhcp pool 1", "no default-router", "no dns-server")


@step("a client identifier counts from 2 to 32 bytes")
def identifiers(lab):
    def offered(length):
        client = lab.crafted("carl", "02:00:00:00:03:01", client_id=length and bytes([length] * length))
        return client.discover().address
    plain = offered(None)
    lab.expect("offered to the hardware address", plain, "192.168.8.2")
    for length in (1, 33):
        lab.expect(f"offered with an identifier of {length} bytes, which is ignored", offered(length), plain)
    for length, address in ((2, "192.168.8.3"), (32, "192.168.8.4")):
        lab.expect(f"offered with an identifier of {length} bytes, which is a client of its own", offered(length), address)


@step(f"{BURST} clients ask at once, of either family: every one is offered an address, and no frame is lost")
def burst(lab):
    for family, frames, read in (("DHCP", discovers(lab), offer_of), ("DHCPv6", solicits(lab), advertise_of)):
        mark = lab.wire.now()
        grown = at_once(lab, frames.values())
        lab.say(f"{family}: {grown}")
        offered = answers(lab, mark, read, frames)
        lab.expect(f"{family} clients with an offer", len(offered), BURST)
        lab.expect("different addresses among them", len(set(offered.values())), BURST)
        lab.expect("frames lost, queue full", grown["Lost, queue full"], 0)
    lab.show("show event-queue")


@step("with a limit on what reaches the CPU the rest is dropped and counted; without it all is as before")
def limited_burst(lab):
    rate = 100
    lab.switch.cli("configure", f"ip dhcp snooping limit {rate}")
    mark, frames = lab.wire.now(), discovers(lab)
    grown = at_once(lab, frames.values())
    offered = answers(lab, mark, offer_of, frames, seconds=1)
    lab.say(f"{grown}, {len(offered)} offers")
    lab.expect("frames taken and dropped", grown["Posted"] + grown["Lost, above rate limit"], BURST)
    lab.expect_that(f"about {rate} were taken, and each has its offer",
                    rate <= grown["Posted"] == len(offered) <= 2 * rate)
    lab.expect("frames lost, queue full", grown["Lost, queue full"], 0)
    lab.switch.cli("configure", "no ip dhcp snooping limit")
    mark, frames = lab.wire.now(), discovers(lab)
    at_once(lab, frames.values())
    lab.expect("clients with an offer without the limit", len(answers(lab, mark, offer_of, frames)), BURST)


@step("500 bindings are held, the next client gets nothing until one is released")
def bindings(lab):
    lab.switch.cli("clear ip dhcp binding *")
    clients = [lab.crafted("carl", f"02:00:00:05:{number >> 8:02x}:{number & 255:02x}")
               for number in range(MOST_BINDINGS + 1)]
    held = {client.lease() for client in clients[:-1]}
    lab.expect("different addresses given", len(held), MOST_BINDINGS)
    lab.show("show ip dhcp binding | include Total")
    lab.expect("answer to the next client", clients[-1].silence(DISCOVER), None)
    lab.expect_that("the log says why", "reach max dhcp binding count 500 limit" in lab.switch.said())
    first = clients[0]
    first.send(RELEASE, ciaddr="192.168.8.2", options=[(54, ip_bytes(OWN))], unicast=True)
    lab.wait_until(lambda: "192.168.8.2" not in lab.switch.bindings(), 5, "the row to go")
    lab.expect("after a release it gets", clients[-1].lease(), "192.168.8.2")
