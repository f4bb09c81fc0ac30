"""What an operator has beside the services: captures, readouts for programs, the log, another configuration while
clients are served, counters, metrics, debugging."""
import json
import os
import re
import signal
import socket
import subprocess
import time

from kit.crafted import BROADCAST, IP, OFFER, UDP, Ether, Raw, from_server
from kit.judge import BAD_ELSE
from kit.metrics import checked, key, scrape
from kit.sandbox import HERE, run
from kit.scene import Failed, Port, steps_of
from kit.visitors import Visitors

TITLE = "A switch in its operator's hands"
PORTS = [
    Port(1, "alice", "10"),                 # crafted clients
    Port(2, "bob", "20"),                   # crafted clients
    Port(5, "tess", "10,20", trunk=True),   # crafted clients with tags
]
CONFIG = """
interface vlan 10
 ip address 192.168.10.1 255.255.255.0
interface vlan 20
 ip address 192.168.20.1 255.255.255.0
ip dhcp pool 1
 network 192.168.10.0 255.255.255.0 192.168.10.10 192.168.10.99
 exit
ip dhcp pool 2
 network 192.168.20.0 255.255.255.0 192.168.20.10 192.168.20.99
 exit
ip dhcp-server
"""
FILE = f"{HERE}/lease.pcapng"
STEPS, step = steps_of()


def read(file, *words):
    done = subprocess.run(["tshark", "-n", "-r", file, *words], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          text=True, timeout=60, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"tshark: {done.stderr.strip()}")
    return [line.split("\t") for line in done.stdout.splitlines()]


def captured(file, condition="dhcp"):
    """Port, direction (1 = received), VLAN of the tag, type of the message."""
    fields = ("frame.interface_name", "frame.packet_flags_direction", "vlan.id", "dhcp.option.dhcp")
    return [tuple(row) for row in read(file, "-Y", condition, "-T", "fields",
                                       *(word for field in fields for word in ("-e", field)))]


@step("a capture shows a lease as it passed the ports: names, directions, tags")
def capture(lab):
    lab.switch.start(lab.config())
    lab.switch.cli(f"monitor capture {FILE} dhcp")
    lab.crafted("tess", "02:00:00:00:05:10", vlan=20).lease()
    lab.crafted("alice", "02:00:00:00:01:10").lease()
    lab.hosts["alice"].send(bytes.fromhex("ffffffffffff 020000000110 88b5") + bytes(46))  # not DHCP
    lab.show("no monitor capture", "show monitor capture")
    rows = captured(FILE)
    lab.say("\n".join(map(str, rows)))
    lab.expect("on the trunk", [row for row in rows if row[0] == "Gi5" and row[2] == "20"],
               [("Gi5", way, "20", kind) for way, kind in (("0x00000001", "1"), ("0x00000002", "2"),
                                                            ("0x00000001", "3"), ("0x00000002", "5"))])
    lab.expect("on the access port", [row for row in rows if row[0] == "Gi1"],
               [("Gi1", way, "", kind) for way, kind in (("0x00000001", "1"), ("0x00000002", "2"),
                                                          ("0x00000001", "3"), ("0x00000002", "5"))])
    lab.expect("frames that are not DHCP", captured(FILE, "!dhcp"), [])
    lab.expect("malformed frames", captured(FILE, f"{BAD_ELSE} || udp.checksum.status == \"Bad\""), [])


@step("a capture writes to a new file alone, and one that is running is finished when the switch ends")
def guarded(lab):
    os.symlink("/nowhere/at/all", f"{HERE}/link")
    for path in (FILE, f"{HERE}/link", "relative"):
        lab.say(lab.switch.refuses(f"monitor capture {path}"))
    lab.expect("what was refused", [lab.switch.refuses(f"monitor capture {path}") is None
                                    for path in (FILE, f"{HERE}/link", "relative")], [False] * 3)
    whole = f"{HERE}/whole.pcapng"
    lab.switch.cli(f"monitor capture {whole} interface gigabitethernet 1")
    lab.expect("a second one beside it is refused", lab.switch.refuses(f"monitor capture {HERE}/2") is None, False)
    lab.crafted("alice", "02:00:00:00:01:11").lease()
    lab.crafted("bob", "02:00:00:00:02:11").lease()
    lab.expect("exit status", lab.switch.stop(), 0)
    lab.expect("kinds of messages", [row[3] for row in captured(whole)], ["1", "2", "3", "5"])
    lab.expect("other ports", [row for row in captured(whole, "frame") if row[0] != "Gi1"], [])
    lab.switch.start()


@step("programs read every readout as JSON, and follow a lease through it")
def readouts(lab):
    lab.crafted("alice", "02:00:00:00:01:12").lease()
    lab.switch.cli("write memory")
    commands = lab.switch.readouts()
    values = dict(zip(commands, lab.switch.json(*commands), strict=True))
    lab.expect("readouts that are neither object nor array",
               [command for command, value in values.items() if not isinstance(value, (dict, list))], [])
    [lease] = [row for row in values["show ip dhcp binding"] if row["mac"] == "02:00:00:00:01:12"]
    lab.say(str(lease))
    lab.expect("its pool", lease["pool"], 1)
    lab.expect("its identifier", lease["client_id"], "01020000000112")
    lab.expect("its seconds, of a day", 86400 - 60 < lease["left"] <= 86400, True)
    lab.expect("its end", abs(lease["expires"] - lease["left"] - time.time()) < 5, True)
    [seen] = [row for row in values["show mac address-table"]["addresses"] if row["mac"] == lease["mac"]]
    lab.expect("where the client is", (seen["port"], seen["vlan"]), ("Gi1", 10))
    [pool] = [pool for pool in values["show ip dhcp server"]["pools"] if pool["pool"] == lease["pool"]]
    lab.expect("leases of its pool", pool["bindings"],
               len([row for row in values["show ip dhcp binding"] if row["pool"] == 1]))
    lab.expect("ports that are up", [row["port"] for row in values["show interfaces"] if row["state"] == "up"],
               ["Gi1", "Gi2", "Gi5"])
    report = values["show tech-support"]
    lab.expect("readouts of the report that say the same",
               [report[command] == values[command] for command in ("show ip interface", "show vlan",
                                                                  "show running-config", "show ip dhcp server")],
               [True] * 4)
    lab.say(lab.switch.refuses("show vlan json | count"))
    lab.expect("a filter behind it is refused", lab.switch.refuses("show vlan json | count") is None, False)


def said(lab, pattern):
    return [line for line in lab.switch.said().splitlines() if re.search(pattern, line)]


@step("the log tells of ports, of hosts that lie and of changes, each once")
def log(lab):
    lab.switch.cli("configure", "interface gigabitethernet 1", "ip verify source")
    for _ in range(3):
        lab.expect("alice with an address of her own choice gets through",
                   lab.speaker("alice", "192.168.10.222").reaches(lab.hosts["tess"], "192.168.10.223"), False)
    lab.wait_until(lambda: said(lab, "IPv4 source guard on port Gi1"), 5, "the guard's line")
    run("ip", "link", "set", "sw2", "down")
    lab.wait_until(lambda: said(lab, "port Gi2 .* is down"), 5, "the port's line")
    run("ip", "link", "set", "sw2", "up")
    lab.wait_until(lambda: len(said(lab, r"port Gi2 \(sw2\) is up")) == 2, 5, "the other one")
    lab.switch.cli("configure", "interface gigabitethernet 1", "no ip verify source")
    lab.show("show logging | begin Gi1")
    lab.expect("lines of the guard", len(said(lab, "<4> switch: frames dropped by IPv4 source guard on port Gi1: ")), 1)
    lab.expect("lines of the change", len(said(lab, "<5> switch: configured: ip verify source")), 1)
    kept = [line[11:] for line in lab.switch.cli("show logging").splitlines() if "<" in line]
    lab.expect("what is kept in memory is what was written", kept, said(lab, r"^\S+ <[0-6]> "))


@step("another configuration comes into force while clients of a VLAN that both have go on being served")
def replace(lab):
    lab.switch.cli("write memory")
    with open(lab.switch.config, encoding="utf-8") as file:
        saved = file.read()
    other = saved.replace("192.168.20", "192.168.21").replace("vlan 10,20", "vlan 10,20,30")
    visitors = Visitors(lab, "alice")
    visitors.start()
    for number in range(6):
        with open(lab.switch.config, "w", encoding="utf-8") as file:
            file.write(other if number % 2 == 0 else saved)
        os.kill(lab.switch.process.pid, signal.SIGHUP)
        lab.wait_until(lambda: len(said(lab, "configuration replaced")) == number + 1, 10, "the switch to obey")
        if number == 0:
            lab.expect("a client of the other VLAN gets", lab.crafted("bob", "02:00:00:00:02:21").lease(), "192.168.21.10")
    visitors.end()
    if visitors.served < 20:
        raise Failed(f"only {visitors.served} clients were served")
    lab.expect("clients that had to begin anew, or were lost", (visitors.anew, visitors.lost), (0, []))
    lab.expect("what is in force", lab.switch.cli("configure replace startup-config").strip(),
               "The configuration is that already")
    lab.say(lab.switch.refuses("configure replace /nowhere"))


def frames(service, port, message, reason):
    return key("dhcp_frames_total", service=service, port=port, message=message, reason=reason)


def grown(lab, before, *keys):
    """What has been counted since: a sample that is not there is 0."""
    now = scrape(lab.switch.metrics)
    return [now.get(sample, 0) - before.get(sample, 0) for sample in keys]


@step("the text of metrics that breaks a rule is seen")
def strict(lab):
    good = "# HELP a_total Some.\n# TYPE a_total counter\na_total{b=\"c\"} 1\n"
    lab.expect("a good text", checked(good), {key("a_total", b="c"): 1})
    rules = {"twice": good + 'a_total{b="c"} 2\n', "no type": "# HELP a_total Some.\na_total 1\n", "no help": good[21:],
             "no end": good[:-1], "no total": good.replace("_total", ""), "a label without marks": good.replace('"', ""),
             "below 0": good.replace(" 1\n", " -1\n")}
    for broken, text in rules.items():
        try:
            checked(text)
        except ValueError:
            continue
        lab.expect_that(f"a broken text is taken: {broken}", False)


@step("a lease, a rogue's answer and a damaged frame are counted, each with its reason, and scraped over a socket")
def metrics(lab):
    lab.switch.cli("clear dhcp counters")
    before = scrape(lab.switch.metrics)
    lab.crafted("bob", "02:00:00:00:02:20").lease()
    lab.expect("of the lease", grown(lab, before, frames("server", "Gi2", "DISCOVER", "offered"),
                                     frames("server", "Gi2", "REQUEST", "acknowledged"),
                                     key("dhcp_leases", service="server", state="leased")), [1, 1, 1])
    lab.switch.cli("configure", "ip dhcp snooping", "ip dhcp snooping vlan 10")
    alice, victim = lab.hosts["alice"], lab.crafted("alice", "02:00:00:00:01:20")
    alice.send(from_server(OFFER, alice, "192.168.10.66", victim, "192.168.10.67"))
    rogue = frames("snooping", "Gi1", "OFFER", "server on untrusted port")
    lab.wait_until(lambda: grown(lab, before, rogue) == [1], 5, "the rogue's answer")
    alice.send(bytes(Ether(src=victim.mac, dst=BROADCAST) / IP(src="0.0.0.0", dst="255.255.255.255") /
                     UDP(sport=68, dport=67) / Raw(bytes(200))))  # 40 bytes too few for a DHCP message
    damaged = frames("snooping", "Gi1", "other", "malformed")
    lab.wait_until(lambda: grown(lab, before, damaged) == [1], 5, "the damaged frame")
    lab.show("show dhcp counters", "show dhcp counters interface gigabitethernet 1")
    rows = json.loads(lab.switch.cli("show dhcp counters interface gigabitethernet 1 json"))
    lab.expect("reasons on port 1", [row["reason"] for row in rows], ["malformed", "server on untrusted port"])
    told = checked(lab.switch.cli("show metrics"))
    lab.expect("names that the command line does not tell of", set(scrape(lab.switch.metrics)) - set(told), set())
    lab.expect_that("the process is counted, too", told[key("process_resident_memory_bytes")] > 1e6)
    lab.switch.cli("clear dhcp counters")
    lab.expect("frames after clearing", [k for k in scrape(lab.switch.metrics) if k[0] == "dhcp_frames_total"], [])


@step("debugging tells of every frame in a line, what became of it and why, and of nothing once it is off")
def debugging(lab):
    lab.switch.cli("debug dhcp packet")
    victim = lab.crafted("alice", "02:00:00:00:01:21")
    lab.crafted("bob", "02:00:00:00:02:22").lease()
    alice = lab.hosts["alice"]
    alice.send(from_server(OFFER, alice, "192.168.10.66", victim, "192.168.10.67"))
    lab.wait_until(lambda: said(lab, "OFFER xid .*server on untrusted port"), 5, "the rogue's line")
    lab.show("show debugging", "show logging | include packet: ")
    lines = [line.split("packet: ")[1] for line in said(lab, "<7> packet: ")]
    kinds = [tuple(re.search(r"^(in|out) (\S+) vlan (\d+) .* ([A-Z]+) xid", line).groups()) for line in lines]
    lab.expect("frames", kinds, [("in", "Gi2", "20", "DISCOVER"), ("out", "all", "20", "OFFER"), ("in", "Gi2", "20", "REQUEST"),
                                 ("out", "all", "20", "ACK"), ("in", "Gi1", "10", "OFFER")])
    lab.expect("decisions", [line.split(" -- ")[1] for line in lines if line.startswith("in")],
               ["snooping: vlan not snooped, server: offered", "snooping: vlan not snooped, server: acknowledged",
                "snooping: server on untrusted port"])
    lab.switch.cli("no debug dhcp packet")
    lab.crafted("bob", "02:00:00:00:02:23").lease()
    lab.expect("lines afterwards", len(said(lab, "<7> packet: ")), len(lines))


@step("scrapers that are silent, slow or gone keep neither the switch nor each other waiting")
def slow_scrapers(lab):
    def silent():
        peer = socket.socket(socket.AF_UNIX)
        peer.connect(lab.switch.metrics)
        return peer
    peers = [silent() for _ in range(7)]
    peers[0].sendall(b"GET /metrics HTTP/1.1\r\n")  # and no more
    peers[1].sendall(b"GET /metrics HTTP/1.1\r\n\r\n")  # and reads nothing
    peers.pop().close()
    lab.expect_that("another one is served", len(scrape(lab.switch.metrics)) > 50)
    lab.expect_that("and so is a client", lab.crafted("bob", "02:00:00:00:02:21").lease().startswith("192.168.20."))
    peers[0].settimeout(15)
    lab.expect("what the one that never ends its request gets", peers[0].recv(100), b"")
    for peer in peers:
        peer.close()
    lab.switch.cli("configure", "no ip dhcp snooping")


@step("under a service manager the severity stands before the line, for the journal")
def journal(lab):
    lab.expect("exit status", lab.switch.stop(), 0)
    log = os.stat(f"{HERE}/switch.log")
    lab.switch.surroundings["JOURNAL_STREAM"] = f"{log.st_dev}:{log.st_ino}"
    lab.switch.start()
    del lab.switch.surroundings["JOURNAL_STREAM"]
    lab.expect("first line", lab.switch.said().splitlines()[0],
               f"<5>switch: running with 26 ports, address {lab.switch.mac}")
