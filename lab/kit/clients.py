"""Stock DHCP clients as black boxes, each in its host's namespace, judged by what they print and do."""
import os
import re
import subprocess
import time

from kit.sandbox import HERE, run


def wait_until(condition, seconds, what):
    """Polls until the condition gives something true, and returns it."""
    deadline = time.monotonic() + seconds
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > deadline:
            raise TimeoutError(f"waited {seconds} s for {what}")
        time.sleep(0.05)


class Client:
    """What the stock clients have in common: a process, its output in a file, and an address once it is bound."""

    bound = None  # matches the line that names the address

    def __init__(self, host):
        self.host = host
        self.log = f"{HERE}/{host.name}.log"
        self.process = None

    def _start(self, *words):
        with open(self.log, "w", encoding="utf-8") as log:
            self.process = subprocess.Popen(self.host.net.command(*words), stdin=subprocess.DEVNULL, stdout=log,
                                            stderr=log)

    def said(self):
        with open(self.log, encoding="utf-8", errors="replace") as file:
            return file.read()

    def wait_for(self, pattern, seconds=20):
        try:
            return wait_until(lambda: re.search(pattern, self.said()), seconds, f"'{pattern}' from {self.host.name}")
        except TimeoutError as error:
            raise TimeoutError(f"{error}; it said:\n{self.said()}") from None

    def address(self):
        """The address on the interface, as the kernel has it."""
        shown = self.host.net.run("ip", "-4", "-brief", "address", "show", "dev", self.host.name)
        found = re.search(r"(\d+\.\d+\.\d+\.\d+)/", shown)
        return found.group(1) if found else None

    def bind(self):
        """Starts the client and waits for its lease; the address it got."""
        self.begin()
        address = self.wait_for(self.bound).group(1)
        wait_until(lambda: self.address() == address, 5, f"{address} on {self.host.name}")
        return address


class Dhclient(Client):
    bound = r"bound to (\S+)"

    def begin(self):
        hooks = "/etc/dhcp/dhclient-enter-hooks.d"
        os.makedirs(hooks, exist_ok=True)
        with open(f"{hooks}/lab", "w", encoding="ascii") as file:
            file.write("make_resolv_conf() { :; }\n")
        with open("/etc/dhcp/dhclient.conf", "w", encoding="ascii") as file:
            file.write("initial-delay 0;\nrequest subnet-mask, routers, domain-name, domain-name-servers;\n")
        self._start(*self._words("-d", "-v"))

    def _words(self, *more):
        name = self.host.name
        return ["dhclient", *more, "-4", "-lf", f"/var/lib/dhcp/dhclient.{name}.leases", "-pf",
                f"/run/dhclient.{name}.pid", name]

    def release(self):
        self.host.net.run(*self._words("-r", "-v"))
        self.process.wait(10)


class Dhcpcd(Client):
    bound = r"leased (\S+) for"
    settings = "clientid\nnoarp\nnodelay\nipv4only\nnoipv4ll\noption routers, domain_name_servers\n"

    def begin(self):
        path = f"{HERE}/{self.host.name}.dhcpcd.conf"
        with open(path, "w", encoding="ascii") as file:
            file.write(self.settings)
        os.makedirs("/run/dhcpcd", exist_ok=True)
        self._start("dhcpcd", "--nobackground", "--debug", "--config", path, "--script", "/bin/true", self.host.name)

    def renew(self):
        """Asks the running client to renew its lease with the server that gave it."""
        run(*self.host.net.command("dhcpcd", "--renew", self.host.name))

    def release(self):
        run(*self.host.net.command("dhcpcd", "--release", self.host.name))
        self.process.wait(10)
