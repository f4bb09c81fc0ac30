"""Stock DHCPv6 clients as black boxes, each in its host's namespace."""
import os

from kit.clients import Client, Dhclient, Dhcpcd, wait_until
from kit.ip6 import addresses, speaks_ip6


class Client6(Client):
    """A client of a host that has its link-local address."""

    def __init__(self, host):
        super().__init__(host)
        speaks_ip6(host)

    def address(self):
        """The first global address on the interface, without its length."""
        found = addresses(self.host.net.run("ip", "-6", "address", "show", "dev", self.host.name))
        return found[0].split("/")[0] if found else None

    def bind(self):
        """Starts the client and waits for the address on the interface."""
        self.begin()
        try:
            return wait_until(self.address, 20, f"an address on {self.host.name}")
        except TimeoutError as error:
            raise TimeoutError(f"{error}; it said:\n{self.said()}") from None

    def release(self):
        """Gives the address up, and waits until it is off the interface: the next client may not be taken for bound."""
        super().release()
        wait_until(lambda: self.address() is None, 10, f"{self.host.name} to be without an address")


class Dhclient6(Client6, Dhclient):
    def _leases(self):
        return f"/var/lib/dhcp/dhclient6.{self.host.name}.leases"

    def _words(self, *more):
        name = self.host.name
        return ["dhclient", *more, "-6", "-lf", self._leases(), "-pf", f"/run/dhclient6.{name}.pid", name]

    def release(self):
        """It keeps what it has given up in its file, and the next one would begin with that address for a moment."""
        super().release()
        os.remove(self._leases())


class Dhcpcd6(Client6, Dhcpcd):
    settings = "duid ll\nipv6only\nnoipv6rs\nnodelay\nia_na\noption dhcp6_name_servers, dhcp6_domain_search\n"
