"""Stock DHCP servers as black boxes in their hosts' namespaces."""
import json
import os
import re
import signal
import subprocess

from kit.clients import wait_until
from kit.sandbox import HERE


class Server:
    """A process at a host, which gets `address`. It may be frozen, and it may lose its memory."""

    ready = None  # matches what it says once it serves

    def __init__(self, host, address):
        self.host, self.address = host, address
        self.log = f"{HERE}/{host.name}.{type(self).__name__.lower()}.log"
        self.leases = f"{HERE}/{host.name}.leases"
        self.process = None
        host.net.run("ip", "address", "replace", f"{address}/24", "dev", host.name)

    def begin(self):
        with open(self.log, "w", encoding="utf-8") as log:
            self.process = subprocess.Popen(self.host.net.command(*self.words()), stdin=subprocess.DEVNULL, stdout=log,
                                            stderr=log, env=dict(os.environ, KEA_LOCKFILE_DIR=HERE, KEA_PIDFILE_DIR=HERE))
        wait_until(lambda: re.search(self.ready, self.said()), 10, f"{self.host.name}'s server")
        return self

    def said(self):
        with open(self.log, encoding="utf-8", errors="replace") as file:
            return file.read()

    def freeze(self):
        """It hears what is sent to it, and answers after thaw()."""
        self.process.send_signal(signal.SIGSTOP)

    def thaw(self):
        self.process.send_signal(signal.SIGCONT)

    def end(self):
        self.process.terminate()
        self.process.wait(10)

    def forget(self):
        """Starts anew without its leases."""
        self.end()
        if os.path.exists(self.leases):
            os.unlink(self.leases)
        self.begin()


class Dnsmasq(Server):
    """Leases `first` to `last`, and what further words say."""

    ready = "DHCP, (sockets bound|IP range)"

    def __init__(self, host, address, first, last, *more, lease="1h"):
        super().__init__(host, address)
        self.range, self.more = f"{first},{last},255.255.255.0,{lease}", more

    def words(self):
        return ["dnsmasq", "--no-daemon", "--user=root", "--group=root", "--conf-file=/dev/null", "--port=0",
                "--no-resolv", "--no-hosts", f"--interface={self.host.name}", "--log-dhcp", "--dhcp-authoritative",
                f"--pid-file={HERE}/{self.host.name}.dnsmasq.pid", f"--dhcp-leasefile={self.leases}",
                f"--dhcp-range={self.range}", *self.more]


class Kea(Server):
    """Leases ranges of networks, each (network/length, "first - last", router)."""

    ready = "DHCP4_STARTED"

    def __init__(self, host, address, *networks):
        super().__init__(host, address)
        self.config = f"{HERE}/{host.name}.kea.json"
        subnets = [{"id": number, "subnet": subnet, "pools": [{"pool": pool}],
                    "option-data": [{"name": "routers", "data": router}]}
                   for number, (subnet, pool, router) in enumerate(networks, 1)]
        with open(self.config, "w", encoding="utf-8") as file:
            json.dump({"Dhcp4": {
                "interfaces-config": {"interfaces": [host.name], "dhcp-socket-type": "udp"},
                "lease-database": {"type": "memfile", "persist": False}, "valid-lifetime": 3600, "subnet4": subnets,
                "loggers": [{"name": "kea-dhcp4", "severity": "INFO", "output_options": [{"output": "stdout"}]}]}}, file)

    def words(self):
        return ["kea-dhcp4", "-c", self.config]
