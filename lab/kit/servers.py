"""A stock DHCP server as a black box in its host's namespace."""
import os
import re
import signal
import subprocess

from kit.clients import wait_until
from kit.sandbox import HERE


class Dnsmasq:
    """Leases `first` to `last` from the host, which gets `address`. It may be frozen, and it may lose its memory."""

    def __init__(self, host, address, first, last, *more, lease="1h"):
        self.host, self.address = host, address
        self.log = f"{HERE}/{host.name}.dnsmasq.log"
        self.leases = f"{HERE}/{host.name}.leases"
        self.words = ["dnsmasq", "--no-daemon", "--user=root", "--group=root", "--conf-file=/dev/null", "--port=0",
                      "--no-resolv", "--no-hosts", f"--interface={host.name}", "--log-dhcp", "--dhcp-authoritative",
                      f"--pid-file={HERE}/{host.name}.dnsmasq.pid", f"--dhcp-leasefile={self.leases}",
                      f"--dhcp-range={first},{last},255.255.255.0,{lease}", *more]
        self.process = None
        host.net.run("ip", "address", "add", f"{address}/24", "dev", host.name)

    def begin(self):
        with open(self.log, "w", encoding="utf-8") as log:
            self.process = subprocess.Popen(self.host.net.command(*self.words), stdin=subprocess.DEVNULL, stdout=log,
                                            stderr=log)
        wait_until(lambda: re.search("DHCP, (sockets bound|IP range)", self.said()), 10, f"{self.host.name}'s server")
        return self

    def said(self):
        with open(self.log, encoding="utf-8", errors="replace") as file:
            return file.read()

    def freeze(self):
        """It hears what is sent to it, and answers after thaw()."""
        self.process.send_signal(signal.SIGSTOP)

    def thaw(self):
        self.process.send_signal(signal.SIGCONT)

    def forget(self):
        """Starts anew without its leases."""
        self.process.terminate()
        self.process.wait(10)
        if os.path.exists(self.leases):
            os.unlink(self.leases)
        self.begin()
