"""The switch as a DHCPv6 client: addresses for its own VLAN interfaces from stock servers, and from another switch."""
from kit.dhcp6 import REBIND, RELEASE, RENEW, REPLY, REQUEST, SOLICIT, sent_by
from kit.ip6 import addresses, speaks_ip6
from kit.sandbox import run
from kit.scene import Port, steps_of
from kit.switch import MACS

TITLE = "A switch that gets its own IPv6 addresses by DHCPv6"
PORTS = [
    Port(1, "kea", "10"),   # runs kea-dhcp6
    Port(2, "mask", "20"),  # runs dnsmasq
    Port(3, "peer", "30"),  # another switch of this kind
]
CONFIG = """
interface vlan 10
 ipv6 address dhcp
interface vlan 20
interface vlan 30
"""
T1, T2, PREFERRED, VALID = TIMES = 5, 11, 16, 20
DEADLINE = 180
OTHER_MAC = MACS[1]
OTHER = f"""
interface gigabitethernet 1
 device peer
 switchport access vlan 30
interface vlan 30
 ipv6 address 2001:db8:30::1/64
ipv6 dhcp pool 30
 network-address 2001:db8:30::100 2001:db8:30::1ff
 lifetime 600 900
 dns-server 2001:db8:30::53
 dns-server 2001:db8:30::54
 exit
service dhcpv6-server
"""
STEPS, step = steps_of()


def own_addresses(vlan):
    return addresses(run("ip", "-6", "address", "show", "dev", f"eth0.{vlan}"))


def shown(lab, vlan):
    """What the display says of one interface, by label; its state under "state"."""
    found, here = {}, False
    for line in lab.switch.cli("show ipv6 dhcp interface").splitlines():
        if not line.startswith(" "):
            here = line.startswith(f"vlan {vlan} is ")
            found.update({"state": line.split()[-1]} if here else {})
        elif here:
            found[line[2:22].strip()] = line[23:].strip()
    return found


def bound(lab, vlan, seconds=15):
    lab.wait_until(lambda: shown(lab, vlan).get("state") == "bound" and own_addresses(vlan), seconds,
                   f"an address on eth0.{vlan}")
    lab.show("show ipv6 dhcp interface")
    return own_addresses(vlan)


def hears(lab, mark, kind, host, seconds):
    lab.wait_until(lambda: sent_by(lab, mark, lab.switch.mac, [kind], host), seconds, f"message {kind} at {host}")
    return sent_by(lab, mark, lab.switch.mac, [kind], host)


@step("without a server the switch asks in bursts of three under one transaction id")
def alone(lab):
    mark = lab.wire.now()
    lab.switch.start(lab.config())
    burst = lab.wait_until(lambda: len(sent_by(lab, mark, lab.switch.mac, [SOLICIT], "kea")) >= 3 and
                           sent_by(lab, mark, lab.switch.mac, [SOLICIT], "kea"), 10, "a burst")
    lab.say(burst[0])
    lab.expect("messages under the first transaction id", [m.xid for m in burst].count(burst[0].xid), 3)
    lab.expect("ports", burst[0].ports, (546, 547))
    lab.expect("other VLANs that heard it", sent_by(lab, mark, lab.switch.mac, [SOLICIT], "mask"), [])


@step("kea-dhcp6 gives it an address, which appears on eth0.10")
def from_kea(lab):
    lab.kept["kea"] = lab.kea6("kea", "2001:db8:10::1", "2001:db8:10::/64", "2001:db8:10::100 - 2001:db8:10::1ff",
                               TIMES, dns=("2001:db8:10::53", "2001:db8:10::54"))
    lab.kept["kea"].begin()
    lab.kept["mark"] = lab.wire.now()
    given = bound(lab, 10, 30)
    lab.expect("addresses on eth0.10", given, ["2001:db8:10::100/128"])
    asked = sent_by(lab, lab.kept["mark"], lab.switch.mac, [REQUEST], "kea")
    lab.expect("a REQUEST names client, server, IA and wanted options", asked[0].codes(), [1, 2, 3, 6])
    row = shown(lab, 10)
    lab.expect("T1 and T2 on display", row["T1, T2"], f"{T1} s, {T2} s")
    lab.expect("valid lifetime on display", row["Valid lifetime"], f"{VALID} s")
    lab.expect_that("the server's MAC is on display", lab.hosts["kea"].mac in row["Server"])
    lab.expect("the last DNS server on display", row["DNS server"], "2001:db8:10::54")


@step("at T1 it renews with that server")
def renews(lab):
    mark = lab.wire.now()
    asked = hears(lab, mark, RENEW, "kea", T1 + 5)
    lab.say(asked[0])
    lab.expect_that("the answer comes", lab.wait_until(lambda: sent_by(lab, mark, lab.hosts["kea"].mac, [REPLY]), 3,
                                                       "a REPLY"))
    bound(lab, 10)
    lab.expect("SOLICITs since it was bound", sent_by(lab, lab.kept["mark"], lab.switch.mac, [SOLICIT], "kea")[1:], [])


@step("the server falls silent: two RENEWs, at T2 two REBINDs, and when it is back the address is kept")
def rebinds(lab):
    server, mark = lab.kept["kea"], lab.wire.now()
    server.freeze()
    asked = hears(lab, mark, REBIND, "kea", T2 + 8)
    lab.say(asked[0])
    lab.expect("state", shown(lab, 10)["state"], "rebinding")
    lab.expect("RENEWs before", len(sent_by(lab, mark, lab.switch.mac, [RENEW], "kea")), 2)
    server.thaw()
    lab.expect("addresses on eth0.10", bound(lab, 10), ["2001:db8:10::100/128"])


@step("the server is gone for good: the address is released and taken off at the end of its lifetime")
def gives_up(lab):
    mark = lab.wire.now()
    lab.kept["kea"].end()
    lab.wait_until(lambda: not own_addresses(10), VALID + 8, "the address to go")
    lab.expect_that("a RELEASE was sent", hears(lab, mark, RELEASE, "kea", 3))
    asked = hears(lab, mark, SOLICIT, "kea", 5)
    lab.expect("the next SOLICIT asks for", asked[0].lease()[0], "2001:db8:10::100")
    lab.show("show ipv6 dhcp interface")
    lab.switch.cli("configure", "interface vlan 10", "no ipv6 address dhcp")


@step("dnsmasq gives an address to another interface, once that is in DHCPv6 mode")
def from_dnsmasq(lab):
    lab.dnsmasq6("mask", "2001:db8:20::1", "2001:db8:20::100", "2001:db8:20::1ff",
                 "--dhcp-option=option6:dns-server,[2001:db8:20::53]").begin()
    lab.switch.cli("configure", "interface vlan 20", "ipv6 address dhcp")
    given = bound(lab, 20)
    lab.expect_that(f"{given[0]} is of the server's range", given[0].startswith("2001:db8:20::1"))
    lab.kept["given"] = given


@step("restarted by hand it asks anew, for the same address, and keeps it meanwhile")
def restarts(lab):
    mark = lab.wire.now()
    lab.switch.cli("renew ipv6 dhcp interface vlan 20")
    asked = hears(lab, mark, SOLICIT, "mask", 5)
    lab.expect("it asks for", asked[0].lease()[0] + "/128", lab.kept["given"][0])
    hears(lab, mark, REQUEST, "mask", 5)
    lab.expect("addresses on eth0.20", bound(lab, 20), lab.kept["given"])


@step("saved and restarted, the switch gets its address again; in static mode it gives it back")
def saved(lab):
    lab.switch.cli("write memory")
    lab.expect("exit status", lab.switch.stop(), 0)
    lab.switch.start()
    lab.expect("addresses on eth0.20", bound(lab, 20), lab.kept["given"])
    lab.switch.cli("configure", "interface vlan 20", "ipv6 address 2001:db8:20::9/64")
    lab.expect("addresses on eth0.20", own_addresses(20), ["2001:db8:20::9/64"])
    lab.expect("interfaces in DHCPv6 mode", lab.switch.cli("show ipv6 dhcp interface").strip(), "")


@step("another switch of this kind is its server")
def from_switch(lab):
    speaks_ip6(lab.hosts["peer"])
    other = lab.add_switch("other", OTHER_MAC, lab.hosts["peer"].net)
    other.start(OTHER)
    lab.switch.cli("configure", "interface vlan 30", "ipv6 address dhcp")
    lab.expect("addresses on eth0.30", bound(lab, 30), ["2001:db8:30::100/128"])
    row = shown(lab, 30)
    lab.expect_that("the other switch's MAC is on display", OTHER_MAC in row["Server"])
    lab.expect("T1 and T2", row["T1, T2"], "300 s, 480 s")
    lab.expect("the last DNS server", row["DNS server"], "2001:db8:30::54")
    lab.expect("exit status of the other switch", other.stop(), 0)
    lab.show("show ipv6 dhcp client statistics")
