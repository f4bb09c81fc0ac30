"""The server's limits: pools, hosts, addresses in a line, bindings, lengths of client identifiers."""
from kit.crafted import DISCOVER, RELEASE, ip_bytes
from kit.scene import Port, steps_of

TITLE = "How much the server holds"
PORTS = [Port(1, "carl", "10")]
LOG_LEVEL = 7
OWN, MOST_BINDINGS = "192.168.8.1", 500
CONFIG = f"""
vlan 10
interface vlan 10
 ip address {OWN} 255.255.252.0
 exit
ip dhcp-server
ip dhcp pool 1
 network 192.168.8.0 255.255.252.0 192.168.8.2 192.168.11.254
 exit
"""
STEPS, step = steps_of()


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
