"""A scene: ports with hosts, configuration lines, and steps that say what they show and check it.

A scene file has TITLE, PORTS, CONFIG and STEPS. It may have a LOG_LEVEL, a DEADLINE in seconds where it takes long, and
UNHEARD: how the MACs begin whose frames it does not record. One with several switches has, instead of CONFIG, a SWITCHES
with the configuration of each by name; port numbers are then unique among them all. `lab/run` plays a scene for a reader
and for the checks alike.
"""
import re
import socket
import time
import traceback
from dataclasses import dataclass

from kit import judge
from kit.clients import Dhclient, Dhcpcd, wait_until
from kit.clients6 import Dhclient6, Dhcpcd6
from kit.crafted import DISCOVER, Crafted
from kit.dhcp6 import Crafted6
from kit.sandbox import HERE, Network
from kit.servers import Dnsmasq, Kea
from kit.servers6 import Dhcrelay6, Dnsmasq6, Kea6
from kit.switch import MACS, Switch
from kit.traffic import Speaker
from kit.wire import Host, Wire

CAPTURE = f"{HERE}/capture.pcapng"


@dataclass
class Port:
    number: int
    host: str
    vlan: str  # of an access port "10", of a trunk "10,20"
    trunk: bool = False
    switch: str = ""  # the first one's, if it does not say
    machine: str = ""  # the host, named before, whose second cable this is

    def lines(self):
        mode = "trunk allowed" if self.trunk else "access"
        return [f"interface gigabitethernet {self.number}", f" device sw{self.number}",
                f" switchport {mode} vlan {self.vlan}", " exit"]


class Failed(Exception):
    """An expectation that did not hold."""


class Lab:
    """What a step works with: the hosts, the wire, the switch, and words for the reader."""

    def __init__(self, scene, build):
        self.scene, self.build = scene, build
        self.configs = getattr(scene, "SWITCHES", None) or {"switch": scene.CONFIG}
        self.switches = {}
        for number, name in enumerate(self.configs):
            self.add_switch(name, MACS[number], Network(name) if number else None)
        self.switch = next(iter(self.switches.values()))
        self.hosts = {}
        for port in scene.PORTS:
            net = self.hosts[port.machine].net if port.machine else Network(port.host)
            self.hosts[port.host] = Host(port.host, port.number, net, self.switches[port.switch or self.switch.name].net)
        self.wire = Wire(list(self.hosts.values()), CAPTURE)
        self.passed = 0
        self.kept = {}  # what a step leaves for later ones
        self.stale = []  # transactions whose UDP checksum is known to be wrong

    def add_switch(self, name, mac, net):
        """A switch that lives in a network of its own, but for the first."""
        self.switches[name] = Switch(self.build, getattr(self.scene, "LOG_LEVEL", 6), name, mac, net)
        return self.switches[name]

    def config(self, name=None):
        """Of a switch, with its ports; of the first one, if none is named."""
        first = self.switch.name
        lines = [line for port in self.scene.PORTS if (port.switch or first) == (name or first) for line in port.lines()]
        return "\n".join(lines) + "\n" + self.configs[name or first].strip() + "\n"

    def dhclient(self, host):
        return Dhclient(self.hosts[host])

    def dhcpcd(self, host):
        return Dhcpcd(self.hosts[host])

    def crafted(self, host, mac, **more):
        return Crafted(self.wire, self.hosts[host], mac, **more)

    def dnsmasq(self, host, address, first, last, *more, **settings):
        return Dnsmasq(self.hosts[host], address, first, last, *more, **settings)

    def kea(self, host, address, *networks):
        return Kea(self.hosts[host], address, *networks)

    def dhclient6(self, host):
        return Dhclient6(self.hosts[host])

    def dhcpcd6(self, host):
        return Dhcpcd6(self.hosts[host])

    def dnsmasq6(self, host, *words, **settings):
        return Dnsmasq6(self.hosts[host], *words, **settings)

    def kea6(self, host, *words, **settings):
        return Kea6(self.hosts[host], *words, **settings)

    def dhcrelay6(self, host, *words):
        return Dhcrelay6(self.hosts[host], *words)

    def crafted6(self, host, mac, **more):
        return Crafted6(self.wire, self.hosts[host], mac, **more)

    def speaker(self, host, ip, mac=None):
        return Speaker(self.wire, self.hosts[host], ip, mac)

    wait_until = staticmethod(wait_until)

    def devices(self, prefix):
        """Network devices beside the switch whose names begin so."""
        return sorted(name for _, name in socket.if_nameindex() if name.startswith(prefix))

    def say(self, text):
        for line in str(text).splitlines():
            print(f"   | {line}".rstrip(), flush=True)

    def show(self, *commands, switch=None):
        """Commands at a switch's prompt, and what it answers."""
        switch = switch or self.switch
        for command in commands:
            self.say(f"{switch.name}# {command}")
            self.say("\n".join(line.rstrip() for line in switch.cli(command).splitlines() if line.strip()))

    def expect(self, what, got, want):
        if got != want:
            raise Failed(f"{what}: expected {want!r}, got {got!r}")
        print(f"   {what}: {got}", flush=True)

    def expect_that(self, what, holds):
        if not holds:
            raise Failed(f"not so: {what}")
        print(f"   {what}", flush=True)

    def play(self, steps):
        for title, action in steps:
            print(f"\n== {title}", flush=True)
            began = time.monotonic()
            try:
                action(self)
            except Exception as error:  # whatever it was, the next steps are worth seeing
                print(f"   {type(error).__name__}: {error} ({_place(error)})")
                print(f"FAIL {title}", flush=True)
                if not self.switch.started:
                    return
            else:
                self.passed += 1
                print(f"PASS {title} ({time.monotonic() - began:.1f} s)", flush=True)

    def judged(self):
        """What every scene ends with; then the switch is stopped."""
        self.wire.close()
        # Relayed answers go without a UDP checksum: then a client's message has to serve.
        good = next((frame.data for frame in self.wire.seen if frame.from_switch and _is_checked_answer(frame.data)),
                    self.crafted(next(iter(self.hosts)), "02:00:00:00:ff:02").frame(DISCOVER))
        self.expect_that("tshark objects to frames that were damaged on purpose, and only to them",
                         judge.sees_damage(good, f"{HERE}/damaged.pcapng"))
        self.say(f"{judge.sent_by_switch(CAPTURE)} frames came out of the switch")
        self.expect("frames among them that are malformed or have a bad checksum", judge.faults(CAPTURE, self.stale), [])
        for xid in self.stale:
            self.expect(f"faults of transaction {xid:#x}, besides its UDP checksum", judge.beside_checksum(CAPTURE, xid), [])
        senders = {frame.data[6:12].hex(":") for frame in self.wire.seen if not frame.from_switch}
        senders |= {switch.mac for switch in self.switches.values()}
        strangers = {frame.data[6:12].hex(":") for frame in self.wire.seen if frame.from_switch} - senders
        strangers = {mac for mac in strangers if not mac.startswith(getattr(self.scene, "UNHEARD", "none"))}
        self.expect("senders among them that are neither the switch nor a host", strangers, set())

    def stops(self):
        status = {name: switch.stop() for name, switch in self.switches.items() if switch.running()}
        self.expect("exit status", status, dict.fromkeys(status, 0))
        self.expect("devices that it left behind", self.devices("eth"), [])


def _is_checked_answer(data):
    """An answer of a DHCP server with a UDP checksum."""
    return data[12:14] == b"\x08\x00" and data[23] == 17 and data[34:36] == b"\0\x43" and data[40:42] != b"\0\0"


def _place(error):
    """Where in the scene it happened."""
    frames = [frame for frame in traceback.extract_tb(error.__traceback__) if "/kit/" not in frame.filename]
    return ", ".join(f"{re.sub('.*/lab/', '', frame.filename)}:{frame.lineno}" for frame in frames[-1:])


def steps_of():
    """A list and the decorator that fills it: @step("what is shown")."""
    steps = []

    def step(title):
        def add(action):
            steps.append((title, action))
            return action
        return add
    return steps, step
