"""Helpers that are silent, come up, change their hardware, and come and go while clients are being served."""
import time

from kit.crafted import DISCOVER, dhcp
from kit.scene import Failed, Port, steps_of
from kit.visitors import Visitors
from scapy.layers.l2 import ARP, Ether

TITLE = "A switch whose DHCP servers come and go"
DEADLINE = 200
PORTS = [
    Port(3, "carl", "10"),  # crafted clients
    Port(4, "serv", "20"),  # runs a dnsmasq
    Port(5, "twin", "20"),  # runs another, from the middle of the scene on
]
CONFIG = """
vlan 10,20
interface vlan 10
 ip address 192.168.10.1 255.255.255.0
interface vlan 20
 ip address 192.168.20.1 255.255.255.0
 exit
mac address-table aging-time 10
ip dhcp information option ip 192.168.10.0 fromvlan 10
service dhcp-relay management-vlan
ip helper-address 192.168.20.2
ip helper-address 192.168.20.3
ip helper-address 192.168.20.4
"""
SERVER, TWIN, NOBODY = "192.168.20.2", "192.168.20.3", "192.168.20.4"
NEW_MAC = "02:00:00:00:04:99"
ROUND = 5  # seconds between two rounds of the probe
TRIED, SKIPPED = 6, 5
STEPS, step = steps_of()


def networks(first, last):
    return f"192.168.10.{first}", f"192.168.10.{last}", "--no-ping"


def asked(lab, address):
    """When the switch asked the network for a helper's MAC, in seconds."""
    def question(frame):
        packet = Ether(frame.data)
        return ARP in packet and packet[ARP].op == 1 and packet[ARP].pdst == address
    return [frame.time_ns / 1e9 for frame in
            lab.wire.since(0, lambda frame: frame.from_switch and frame.host == "serv" and question(frame))]


def state(lab, address):
    """Next hop, and whether it is in use."""
    row = lab.switch.helpers()[address]
    return row[0], row[2]


@step("one of three helpers is alive: the switch starts without waiting a second for each of the others")
def start(lab):
    lab.kept["server"] = lab.dnsmasq("serv", SERVER, *networks(100, 149)).begin()
    began = time.monotonic()
    lab.switch.start(lab.config())
    took = time.monotonic() - began
    lab.expect_that(f"it was up after {took:.1f} s, having waited for the first silent one alone", took < 2.5)
    lab.show("show ip helper-address")
    lab.expect("helpers", {address: state(lab, address) for address in (SERVER, TWIN, NOBODY)},
               {SERVER: (lab.hosts["serv"].mac, "valid"), TWIN: ("-", "probing"), NOBODY: ("-", "probing")})
    carl = lab.crafted("carl", "02:00:00:00:03:10")
    lab.expect_that("a client is served", carl.lease().startswith("192.168.10.1"))
    lab.switch.cli("configure", f"no ip helper-address {NOBODY}")


@step("a helper's MAC that changes is known again once it is older than the ageing time")
def new_mac(lab):
    host, old = lab.hosts["serv"], lab.hosts["serv"].mac
    host.net.run("ip", "link", "set", "serv", "address", NEW_MAC)
    lab.expect("helper", state(lab, SERVER), (old, "valid"))
    lab.wait_until(lambda: state(lab, SERVER) == (NEW_MAC, "valid"), 10 + 3 * ROUND, "the new MAC")
    lab.show("show ip helper-address")
    host.mac = NEW_MAC
    carl = lab.crafted("carl", "02:00:00:00:03:11")
    lab.expect_that("a client is served", carl.lease().startswith("192.168.10.1"))


@step("a silent helper is asked for in six rounds, then left alone for five")
def back_off(lab):
    def rounds():
        """Times of the probe's questions; the first of all was asked when the switch read its configuration."""
        return asked(lab, TWIN)[1:]
    lab.wait_until(lambda: len(rounds()) > TRIED, 2 * (TRIED + SKIPPED) * (ROUND + 2), "a round behind the pause")
    gaps = [after - before for before, after in zip(rounds(), rounds()[1:])]
    lab.say("seconds between two questions: " + " ".join(f"{gap:.1f}" for gap in gaps))
    lab.expect("helper", state(lab, TWIN), ("-", "probing"))
    lab.expect_that(f"the first {TRIED} came a round apart", all(ROUND <= gap < ROUND + 4 for gap in gaps[:TRIED - 1]))
    lab.expect_that(f"then {SKIPPED} rounds were left out",
                    (SKIPPED + 1) * ROUND <= gaps[TRIED - 1] < (SKIPPED + 2) * ROUND + 4)


@step("it comes up, is found within a round, and used")
def comes_up(lab):
    lab.kept["twin"] = lab.dnsmasq("twin", TWIN, *networks(150, 199)).begin()
    lab.wait_until(lambda: state(lab, TWIN)[1] == "valid", 3 * ROUND, "the helper to be found")
    lab.show("show ip helper-address")
    lab.expect("helper", state(lab, TWIN), (lab.hosts["twin"].mac, "valid"))
    carl = lab.crafted("carl", "02:00:00:00:03:12")
    mark = lab.wire.now()
    carl.discover()
    seen = lab.wire.wait(mark, lambda frame: frame.from_switch and frame.host == "twin" and
                         (m := dhcp(frame.data)) is not None and m.xid == carl.xid, 5)
    lab.expect_that("it gets a client's DISCOVER", seen is not None)
    lab.switch.cli("configure", "mac address-table aging-time 300")


@step("helpers are taken away and given back while clients come: nobody waits for longer than his own retry")
def churn(lab):
    visitors = Visitors(lab, "carl")
    visitors.start()
    for _ in range(6):
        for address in (SERVER, TWIN):
            lab.switch.cli("configure", f"no ip helper-address {address}")
            time.sleep(0.2)
            lab.switch.cli("configure", f"ip helper-address {address}")
            time.sleep(0.2)
    visitors.end()
    if visitors.served < 20:
        raise Failed(f"only {visitors.served} clients were served")
    lab.say(f"{visitors.served} clients served at once or by a message repeated, {visitors.anew} having begun anew")
    lab.expect("lost", visitors.lost, [])
    lab.show("show ip helper-address", "show ip dhcp relay statistics")


@step("saved and loaded, the helpers are the same")
def saved(lab):
    lab.switch.cli("write memory")
    lab.expect("exit status", lab.switch.stop(), 0)
    lab.switch.start()
    want = {SERVER: (NEW_MAC, "valid"), TWIN: (lab.hosts["twin"].mac, "valid")}

    def helpers():
        return {address: state(lab, address) for address in lab.switch.helpers()}
    lab.expect("helpers", helpers().keys(), want.keys())
    # On a busy machine an answer may come too late for the start; the next round of the probe is soon.
    lab.wait_until(lambda: helpers() == want, 4 * ROUND, "the helpers' next hops")
    lab.expect("next hops", helpers(), want)
