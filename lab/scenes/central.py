"""Two switches relay both families to a pair of servers that share their leases; one of the pair fails and returns."""
import time

from kit.crafted import Reply, dhcp
from kit.crowd import Caller4, Caller6, breaths, discover, lease, rebind, request, until_all
from kit.dhcp6 import REPLY, sent_by
from kit.ip6 import link_local, speaks_ip6
from kit.partners import Partner
from kit.scene import Port, steps_of
from kit.wire import Behind

TITLE = "Two switches and a pair of central servers"
DEADLINE = 240
PORTS = [
    Port(1, "alice", "10"),  # runs dhclient; crafted clients beside it, as at the next three
    Port(2, "bob", "11"),    # runs dhcpcd for IPv6
    Port(24, "core", "20"),  # a router, with the servers behind it
    Port(11, "carl", "12", switch="south"),  # runs dhcpcd
    Port(12, "dora", "13", switch="south"),  # runs dhclient -6
    Port(25, "core2", "30", switch="south", machine="core"),
]
SERVERS = {"one": "10.99.0.2", "two": "10.99.0.3"}
SERVERS6 = {"one": "2001:db8:99::2", "two": "2001:db8:99::3"}


def relaying(uplink, gateway6, *vlans):
    """Both relays, for clients in some VLANs; the router is at the end of the network in another one."""
    def interface(vlan, *more):
        return (f"interface vlan {vlan}", f" ip address 192.168.{vlan}.1 255.255.255.0",
                f" ipv6 address 2001:db8:{vlan}::1/64", *more, " exit")
    lines = [line for vlan in vlans for line in
             (*interface(vlan), f"ip dhcp information option ip 192.168.{vlan}.0 fromvlan {vlan}")]
    lines += interface(uplink, f" ip gateway 192.168.{uplink}.254", f" ipv6 gateway {gateway6}")
    return "\n".join([*lines, "service dhcp-relay management-vlan", "service dhcpv6-relay",
                      *(f"ip helper-address {each}" for each in SERVERS.values()),
                      *(f"ipv6 dhcp relay destination {each}" for each in SERVERS6.values())])


SWITCHES = {"north": relaying(20, "2001:db8:20::fe", 10, 11),
            "south": relaying(30, link_local("02:00:00:00:19:01"), 12, 13)}
UPLINKS = {"core": 20, "core2": 30}
MAC = "02:00:00:00:63:fe"  # the router's, on the servers' side
VLANS = {"alice": 10, "bob": 11, "carl": 12, "dora": 13}
EACH = 12  # crafted clients a host and family
PREFIX6 = {"alice": "2001:db8:a:", "bob": "2001:db8:a:", "carl": "2001:db8:b:", "dora": "2001:db8:b:"}  # a switch
TIMES = {"renew-timer": 6, "rebind-timer": 10, "valid-lifetime": 3600}
STEPS, step = steps_of()


def pools(network, *ranges):
    """A pool a partner: what one of them gives, the other one need not know of yet."""
    return [{"pool": f"{network}{first} - {network}{last}", "client-class": f"HA_{name}"}
            for name, (first, last) in zip(SERVERS, ranges)]


def partners(lab, name):
    """Both families' servers of one machine."""
    subnets4 = [{"id": vlan, "subnet": f"192.168.{vlan}.0/24", "pools": pools(f"192.168.{vlan}.", (20, 109), (110, 199)),
                 "option-data": [{"name": "routers", "data": f"192.168.{vlan}.1"}]} for vlan in VLANS.values()]
    subnets6 = [{"id": number, "subnet": f"2001:db8:{number:x}::/64",
                 "relay": {"ip-addresses": [f"2001:db8:{vlan}::1"]},
                 "pools": pools(f"2001:db8:{number:x}::", ("1:0", "1:fff"), ("2:0", "2:fff"))}
                for number, vlan in enumerate(UPLINKS.values(), 10)]
    host = lab.hosts[name]
    return [Partner(host, 4, [name], SERVERS, subnets4, TIMES),
            Partner(host, 6, [name, f"{name}/{SERVERS6[name]}"], SERVERS, subnets6, {**TIMES, "preferred-lifetime": 3000})]


def states(lab, name):
    return [partner.state() for partner in lab.kept[name]]


def becomes(lab, state, *names, seconds=40):
    """Waits for both families' servers of these machines to be in a state."""
    lab.wait_until(lambda: all(states(lab, name) == [state] * 2 for name in names), seconds, f"{state} at {names}")
    lab.say("\n".join(f"{name}: kea-dhcp{partner.family} says {partner.state()}" for name in names
                      for partner in lab.kept[name]))


def helpers(switch):
    """Of both families: address -> (state, requests, replies)."""
    shown = switch.cli("show ip helper-address") + switch.cli("show ipv6 dhcp relay destination")
    rows = {row[0]: row for row in map(str.split, shown.splitlines()) if row}
    return {address: (rows[address][-4], int(rows[address][-2]), int(rows[address][-1]))
            for address in (*SERVERS.values(), *SERVERS6.values())}


def counted(lab):
    """What became of each helper's counters: (switch, address) -> (requests, replies)."""
    return {(name, address): row[1:] for name, switch in lab.switches.items()
            for address, row in helpers(switch).items()}


def answered(before, now, server):
    """(whether requests went to this server, whether replies came) of each switch and family."""
    return {(name, address): tuple(late > early for early, late in zip(before[name, address], now[name, address]))
            for name, address in now if address in (SERVERS[server], SERVERS6[server])}


def everywhere(server, asked, replied):
    return {(name, address): (asked, replied) for name in SWITCHES for address in (SERVERS[server], SERVERS6[server])}


def crowd(lab, batch, each=EACH):
    """New clients at all four hosts, of both families."""
    return [make(lab, host, f"02:{make.family:02x}:{batch:02x}:{lab.hosts[host].port:02x}:00:{number:02x}")
            for make in (Caller4, Caller6) for host in VLANS for number in range(each)]


def by_server(callers):
    """How many each server gave an address to, by family and name."""
    counts = {}
    for caller in callers:
        name = next(name for name, address in SERVERS.items()
                    if caller.server == address or caller.family == 6 and name.encode() in caller.server)
        counts[caller.family, name] = counts.get((caller.family, name), 0) + 1
    return dict(sorted(counts.items()))


def rightly_addressed(lab, callers):
    strangers = [caller.address for caller in callers if not caller.address.startswith(
        f"192.168.{VLANS[caller.host]}." if caller.family == 4 else PREFIX6[caller.host])]
    lab.expect("addresses of other networks", strangers, [])
    lab.expect("different addresses", len({caller.address for caller in callers}), len(callers))


def build_core(lab):
    """A router with a leg to each switch, and one to the bridge at which the servers are."""
    core = lab.hosts["core"].net
    core.run("sh", "-c", "echo 1 > /proc/sys/net/ipv4/ip_forward; echo 1 > /proc/sys/net/ipv6/conf/all/forwarding")
    core.run("ip", "link", "add", "centre", "type", "bridge")
    core.run("ip", "link", "set", "centre", "address", MAC, "addrgenmode", "none", "up")
    core.run("ip", "address", "add", "10.99.0.254/24", "dev", "centre")
    for address in (link_local(MAC), "2001:db8:99::fe"):
        core.run("ip", "-6", "address", "add", f"{address}/64", "dev", "centre", "nodad")
    for name, vlan in UPLINKS.items():
        core.run("ip", "address", "add", f"192.168.{vlan}.254/24", "dev", name)
        speaks_ip6(lab.hosts[name], f"2001:db8:{vlan}::fe")
    for number, name in enumerate(SERVERS, 2):
        lab.hosts[name] = Behind(lab.hosts["core"], name, f"to_{name}", f"02:00:00:00:63:{number:02x}")
        core.run("ip", "link", "set", f"to_{name}", "master", "centre")
        join(lab, name)


def join(lab, name):
    """Gives a server its addresses and its way out; both families' go with its link."""
    host = lab.hosts[name]
    host.net.run("ip", "link", "set", name, "up")
    host.net.run("ip", "address", "replace", f"{SERVERS[name]}/24", "dev", name)
    speaks_ip6(host, SERVERS6[name])
    host.net.run("ip", "route", "replace", "default", "via", "10.99.0.254")
    host.net.run("ip", "-6", "route", "replace", "default", "via", "2001:db8:99::fe")


@step("the pair of servers starts and splits the clients, the switches start and know the way to both")
def start(lab):
    build_core(lab)
    for name in SERVERS:
        lab.kept[name] = partners(lab, name)
        for partner in lab.kept[name]:
            partner.begin()
    for name, switch in lab.switches.items():
        switch.start(lab.config(name))
    lab.wait_until(lambda: all(row[0] == "valid" for switch in lab.switches.values() for row in helpers(switch).values()),
                   40, "the ways to both servers")
    for switch in lab.switches.values():
        lab.show("show ip interface", switch=switch)
    lab.expect("an IPv6 gateway in another network is refused",
               lab.switch.refuses("configure", "interface vlan 20", "ipv6 gateway 2001:db8:30::fe") is None, False)
    becomes(lab, "load-balancing", *SERVERS)


@step("stock clients of both switches and both families get addresses of their own networks")
def stock(lab):
    for name, make in (("alice", lab.dhclient), ("bob", lab.dhcpcd6), ("carl", lab.dhcpcd), ("dora", lab.dhclient6)):
        client = lab.kept[name] = make(name)
        address = client.bind()
        lab.expect_that(f"{name}'s {address} is of the right network",
                        address.startswith((f"192.168.{VLANS[name]}.", PREFIX6[name])))


@step(f"{EACH * 4} crafted clients a switch: each of the pair serves its share, and both know all leases")
def many(lab):
    old = lab.kept["old"] = crowd(lab, 1)
    lease(old)
    rightly_addressed(lab, old)
    shares_out(lab, old)
    share(lab, old)


def shares_out(lab, callers):
    """Both servers of both families have given addresses."""
    shares = by_server(callers)
    lab.say(f"clients by family and server: {shares}")
    lab.expect("families and servers that gave an address", sorted(shares), [(4, "one"), (4, "two"), (6, "one"), (6, "two")])


def share(lab, callers):
    """Both partners of each family know the same leases, and all of these clients'."""
    for number, family in enumerate((4, 6)):
        def same(number=number):
            first, second = (lab.kept[name][number].known() for name in SERVERS)
            return first == second and first
        known = lab.wait_until(same, 15, f"the same leases at both, family {family}")
        lab.expect(f"leases that both know, family {family}, without these clients'",
                   len(known.keys() - {caller.address for caller in callers}), len(known) - len(callers) // 2)


@step("one of the pair dies between its offers and the requests; every client ends with a lease")
def fails(lab):
    new = crowd(lab, 2, 4)
    until_all(new, discover, 20, "an offer for everybody")
    offered = by_server(new)
    lab.expect_that("some of both families have chosen the one that dies", offered[4, "one"] and offered[6, "one"])
    for partner in lab.kept["one"]:
        partner.dies()
    lab.hosts["one"].net.run("ip", "link", "set", "one", "down")
    lab.kept["dead"], before, died = lab.wire.now(), counted(lab), time.monotonic()
    served = [caller for breath in breaths(new) for caller in request(breath)]
    lab.say(f"offers by family and server: {offered}; requests granted at once: {by_server(served)}")
    rounds = lease([caller for caller in new if caller not in served], 40)
    lab.say(f"the others were served after beginning anew, {rounds} times at most; {time.monotonic() - died:.1f} s later all "
            "had a lease")
    rightly_addressed(lab, new)
    lab.kept["new"] = new
    becomes(lab, "partner-down", "two")
    for server, replied in (("one", False), ("two", True)):
        lab.expect(f"asked, and answered: {server}", answered(before, counted(lab), server),
                   everywhere(server, True, replied))
    for switch in lab.switches.values():
        lab.show("show ip helper-address", "show ipv6 dhcp relay destination", switch=switch)


@step("old clients keep their addresses at the remaining server, whoever gave them")
def renew(lab):
    old = lab.kept["old"] + lab.kept["new"]
    before = {caller: caller.address for caller in old}
    until_all(old, rebind, 30, "a renewal for everybody")
    lab.expect("clients with another address than before", [c.mac for c in old if c.address != before[c]], [])
    lab.expect("servers of all", {name for _, name in by_server(old)}, {"two"})
    for name in VLANS:
        lab.wait_until(lambda name=name: renewed(lab, name), 25, f"{name} to renew by itself")
        lab.say(f"{name} has renewed {lab.kept[name].address()} by itself")


def renewed(lab, name):
    """Whether a stock client was given its address again since the server died."""
    mark, address = lab.kept["dead"], lab.kept[name].address()
    if ":" in address:
        mac = lab.switches["north" if name == "bob" else "south"].mac
        return any(m.lease() and m.lease()[0] == address for m in sent_by(lab, mark, mac, [REPLY], name))

    def acknowledges(frame):
        if frame.host != name or not frame.from_switch or dhcp(frame.data) is None:
            return False
        reply = Reply(frame)
        return reply.kind == "ACK" and (reply.address, reply.chaddr[:6].hex(":")) == (address, lab.hosts[name].mac)
    return bool(lab.wire.since(mark, acknowledges))


@step("it returns without its memory, learns all leases from its partner, and is used again")
def returns(lab):
    join(lab, "one")
    for partner in lab.kept["one"]:
        partner.begin()
    becomes(lab, "load-balancing", *SERVERS)
    share(lab, lab.kept["old"] + lab.kept["new"])
    before = counted(lab)
    late = crowd(lab, 3)
    lease(late)
    rightly_addressed(lab, late + lab.kept["old"] + lab.kept["new"])
    shares_out(lab, late)
    share(lab, late)
    for server in SERVERS:
        lab.expect(f"asked, and answered: {server}", answered(before, counted(lab), server), everywhere(server, True, True))
    for switch in lab.switches.values():
        lab.show("show ip helper-address", "show ipv6 dhcp relay destination", switch=switch)
