"""Bindings outlive the switch: through a restart, a killed write, an emptied table, a garbled file, signals."""
import os
import random
import re
import signal
import subprocess
import time

from kit.sandbox import HERE
from kit.scene import Port, steps_of

TITLE = "A switch that is restarted while its clients keep their leases"
PORTS = [
    Port(1, "alice", "10"),  # runs dhclient
    Port(2, "bob", "10"),    # crafted clients
    Port(3, "carl", "10"),   # a static client
    Port(4, "serv", "10"),   # runs the server, a dnsmasq
]
SERVER = "192.168.10.1"
BOB_MAC, FIXED_MAC, FIXED = "02:00:00:00:02:10", "02:00:00:00:03:77", "192.168.10.7"
CONFIG = f"""
vlan 10
ip dhcp snooping
ip dhcp snooping vlan 10
ip dhcp snooping database write-delay 10
interface gigabitethernet 1
 ip verify source
interface gigabitethernet 2
 ip verify source
interface gigabitethernet 3
 ip verify source
 ip dhcp snooping binding mac {FIXED_MAC} ip {FIXED} vlan 10 expiry 86400
interface gigabitethernet 4
 ip dhcp snooping trust
"""
DEADLINE = 400  # seconds that the scene may take
KILLS, LINES, DEEPEST_WRITE_S = 100, 1500, 0.12
WRITE = "write ip dhcp snooping database"
STEPS, step = steps_of()


def number(address):
    return int.from_bytes(bytes(map(int, address.split("."))), "big")


def line(mac, lease, port, static, address):
    return f"{mac},{lease},10,{port},{static},{number(address)}\n"


def database(lab):
    """What the display says of the file, by label."""
    rows = (re.split(r"\s{2,}", row.strip(), maxsplit=1) for row in
            lab.switch.cli("show ip dhcp snooping database").splitlines())
    return {row[0]: row[1] for row in rows if len(row) == 2}


def content(lab):
    with open(lab.kept["file"], encoding="ascii") as file:
        return file.readlines()


def put_content(lab, data):
    with open(lab.kept["file"], "wb") as file:
        file.write(data)


def loaded(lab, lines):
    lab.wait_until(lambda: database(lab)["Bindings read"] == str(lines), 10, f"{lines} bindings to be read")


def passes(lab, host, address, mac=None):
    return lab.speaker(host, address, mac).reaches(lab.hosts["serv"], SERVER)


@step("the file has a line for every bound client, and no other")
def written(lab):
    lab.switch.start(lab.config())
    lab.kept["file"] = database(lab)["File"]
    lab.dnsmasq("serv", SERVER, "192.168.10.100", "192.168.10.150", "--no-ping").begin()
    alice, bob = lab.dhclient("alice").bind(), lab.crafted("bob", BOB_MAC).lease()
    lab.crafted("bob", "02:00:00:00:02:11").discover()  # learnt, not bound
    lab.say(lab.switch.cli(WRITE))
    lab.say("".join(content(lab)))
    lines = [line(lab.hosts["alice"].mac, 3600, 1, 0, alice), line(BOB_MAC, 3600, 2, 0, bob),
             line(FIXED_MAC, 86400, 3, 1, FIXED)]
    lab.expect("lines", sorted(content(lab)), sorted(lines))
    lab.kept.update(alice=alice, bob=bob, lines=lines)


@step("after a restart the clients pass the guard before they renew, and nobody else does")
def restarted(lab):
    lab.expect("exit status", lab.switch.stop(), 0)
    mark = lab.wire.now()
    lab.switch.start()
    loaded(lab, 3)
    for host, address, mac in (("alice", lab.kept["alice"], None), ("bob", lab.kept["bob"], BOB_MAC),
                               ("carl", FIXED, FIXED_MAC)):
        lab.expect(f"{host} gets through with {address}", passes(lab, host, address, mac), True)
    lab.expect("bob with alice's address", passes(lab, "bob", lab.kept["alice"], lab.hosts["alice"].mac), False)
    asked = lab.wire.since(mark, lambda frame: not frame.from_switch and frame.data[34:38] == b"\0\x44\0\x43")
    lab.expect("DHCP messages that a client has sent since", len(asked), 0)
    lab.show("show ip dhcp snooping binding", "show ip dhcp snooping database")


@step("changed bindings are written by themselves after the delay")
def cyclic(lab):
    lab.switch.cli("configure", "ip dhcp snooping database write-delay 1")
    more = "02:00:00:00:02:12"
    address = lab.crafted("bob", more).lease()
    lab.wait_until(lambda: line(more, 3600, 2, 0, address) in content(lab), 12, "the new client's line")
    lab.expect("lines", len(content(lab)), 4)


@step("a table that has become empty keeps its last file")
def emptied(lab):
    before = content(lab)
    lab.switch.cli("clear ip dhcp snooping binding *")
    lab.expect("bindings", lab.switch.snooped(), {})
    lab.say(lab.switch.cli(WRITE))
    lab.expect_that(f"the file still has its {len(before)} lines", content(lab) == before)


@step("of a garbled file, what can be read is loaded, and the display says how much could not")
def garbled(lab):
    lab.expect("exit status", lab.switch.stop(), 0)
    good = "".join(lab.kept["lines"]).encode()
    bad = [b"\n", b"# not a binding\n", b"02:00:00:00:02:aa,3600,10\n", b"\xff\xfe\x00\x80,,,,\n",
           b"02:00:00:00:02:ab,3600,70000,2,0,3232238230\n"[:20] + b"x" * 200 + b"\n"]
    put_content(lab, bad[0] + bad[1] + good + b"".join(bad[2:]) + b"02:00:00:00:02:ad,3600,10,2,0")
    lab.switch.start()
    loaded(lab, len(lab.kept["lines"]))
    lab.show("show ip dhcp snooping database")
    lab.expect("lines skipped", database(lab)["Lines skipped"], str(len(bad) + 1))
    lab.expect("bob gets through", passes(lab, "bob", lab.kept["bob"], BOB_MAC), True)
    lab.expect("the switch is alive", lab.switch.running(), True)
    lab.expect("exit status", lab.switch.stop(), 0)


@step(f"killed at {KILLS} random moments while it writes, the file is always whole")
def killed(lab):
    names = [f"02:00:00:01:{at >> 8:02x}:{at & 255:02x}" for at in range(LINES)]
    base = [line(mac, 3600, 2, 0, f"192.168.{20 + at // 250}.{1 + at % 250}") for at, mac in enumerate(names)]
    script = f"{HERE}/removals"
    with open(script, "w", encoding="ascii") as file:
        file.writelines(f"clear ip dhcp snooping binding mac {mac}\n{WRITE}\n" for mac in names[:LINES // 2])
    config = re.sub(r".* binding mac .*\n", "", lab.config())  # the file fills the table, so nothing else finds room
    dice, inside, newest = random.Random(7), 0, 0
    for _ in range(KILLS):
        put_content(lab, "".join(base).encode())
        lab.switch.start(config)
        loaded(lab, LINES)
        with open(script, encoding="ascii") as commands:
            operator = subprocess.Popen(lab.switch.client_words(), stdin=commands, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL, env=lab.switch.surroundings)
        lab.wait_until(lambda: len(content(lab)) < LINES, 10, "the first of the writes")
        time.sleep(dice.uniform(0, DEEPEST_WRITE_S))
        lab.switch.process.send_signal(signal.SIGKILL)
        lab.switch.process.wait(5)
        operator.wait(5)
        found = content(lab)
        gone = LINES - len(found)
        if sorted(found) != sorted(base[gone:]):
            raise RuntimeError(f"{len(found)} lines, not those of any write: {found[:3]} ... {found[-3:]}")
        inside += unfinished(lab)
        newest = max(newest, gone)
    lab.say(f"up to {newest} writes before a kill, {inside} kills before a write was over")
    lab.expect_that("some of the kills fell into a write", inside > 0)


def unfinished(lab):
    """Whether a killed write has left its unfinished file; takes it away."""
    try:
        os.unlink(lab.kept["file"] + ".new")
    except FileNotFoundError:
        return False
    return True


@step("what it left behind does not keep it from starting, and from saving")
def after(lab):
    put_content(lab, "".join(lab.kept["lines"]).encode())
    lab.switch.start(lab.config())
    loaded(lab, len(lab.kept["lines"]))
    lab.say(lab.switch.cli(WRITE))
    lab.expect("lines", sorted(content(lab)), sorted(lab.kept["lines"]))
    lab.expect("alice gets through", passes(lab, "alice", lab.kept["alice"]), True)


@step("ended by a signal right after a lease, and by a second one meanwhile, it has saved the client")
def signalled(lab):
    lab.expect("exit status", lab.switch.stop(), 0)
    put_content(lab, "".join(lab.kept["lines"]).encode())
    config = re.sub(r".* write-delay .*\n", "", lab.config())  # nothing saves by itself
    lab.switch.start(config)
    loaded(lab, len(lab.kept["lines"]))
    late = "02:00:00:00:02:13"
    address = lab.crafted("bob", late).lease()
    lab.switch.process.send_signal(signal.SIGINT)
    lab.switch.process.send_signal(signal.SIGTERM)
    lab.expect("exit status", lab.switch.process.wait(15), 0)
    lab.expect("lines", sorted(content(lab)), sorted(lab.kept["lines"] + [line(late, 3600, 2, 0, address)]))
    lab.expect("devices that it left behind", lab.devices("eth"), [])
    lab.expect("sockets that it left behind", os.path.exists(lab.switch.client_words()[2]), False)
    lab.switch.start()
    loaded(lab, len(lab.kept["lines"]) + 1)
    lab.expect("the client gets through", passes(lab, "bob", address, late), True)
