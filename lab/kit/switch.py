"""The soft switch under test: started from a configuration, asked through its command line, stopped."""
import json
import os
import re
import subprocess
import time

from kit.sandbox import HERE

STATE = f"{HERE}/switch.state"  # where the first one keeps its bindings
MACS = "02:00:00:00:00:fe", "02:00:00:00:00:fd"


class Switch:
    """It lives where the scene's first process lives, or in a network of its own."""

    def __init__(self, build, log_level, name="switch", mac=MACS[0], net=None):
        self.name, self.mac, self.net, self.log_level = name, mac, net, log_level
        self.config = f"{HERE}/{name}.conf"  # `write memory` writes it, too
        self.socket, self.log, self.state = f"{HERE}/{name}.sock", f"{HERE}/{name}.log", f"{HERE}/{name}.state"
        self.metrics = f"{HERE}/{name}.metrics"
        self.program = f"{build}/bin/softswitch"
        self.client = f"{build}/bin/switchctl"
        self.surroundings = {**os.environ, "LD_LIBRARY_PATH": f"{build}/lib"}  # wherever it was built
        self.process = None
        self.started = False  # it came up at least once

    def start(self, config=None):
        """Starts the switch with these lines, or with the file that it saved itself. What it says when it does not
        come up is the exception's text."""
        if config is not None:
            with open(self.config, "w", encoding="utf-8") as file:
                file.write(config)
        log = open(self.log, "a", encoding="utf-8")  # noqa: the child's from here on
        self.log_start = os.path.getsize(self.log)
        words = [self.program, "--config", self.config, "--socket", self.socket, "--state", self.state, "--metrics",
                 self.metrics, "--foreground", "--mac", self.mac, "--log-level", str(self.log_level)]
        self.process = subprocess.Popen(self.net.command(*words) if self.net else words, stdin=subprocess.DEVNULL,
                                        stdout=log, stderr=log, env=self.surroundings)
        log.close()
        deadline = time.monotonic() + 15
        while time.monotonic() < deadline:
            if self.process.poll() is not None:
                raise RuntimeError(self.said() or f"ended with status {self.process.returncode}")
            if os.path.exists(self.socket) and self._ask("show version").returncode == 0:
                self.started = True
                return
            time.sleep(0.05)
        raise RuntimeError("the switch did not open its command line in time: " + self.said())

    def said(self):
        """What the switch wrote since it was last started."""
        with open(self.log, encoding="utf-8", errors="replace") as file:
            file.seek(self.log_start)
            return file.read()

    def client_words(self):
        return [self.client, "--socket", self.socket]

    def _ask(self, *commands):
        words = self.client_words()
        for command in commands:
            words += ["-c", command]
        return subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL,
                              text=True, timeout=20, check=False)

    def cli(self, *commands):
        """What the command line answers. A refused command is an error of the scene."""
        done = self._ask(*commands)
        if done.returncode != 0:
            raise RuntimeError(f"{'; '.join(commands)}: {done.stdout.strip()}")
        return done.stdout

    def refuses(self, *commands):
        """The reason that the command line gives; None when it takes the commands."""
        done = self._ask(*commands)
        return done.stdout.strip() if done.returncode != 0 else None

    def json(self, *commands):
        """What `switchctl --json` answers, as values: one for each command that says something."""
        words = [*self.client_words(), "--json"]
        for command in commands:
            words += ["-c", command]
        done = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.PIPE, stdin=subprocess.DEVNULL,
                              text=True, timeout=20, env=self.surroundings, check=False)
        if done.returncode != 0:
            raise RuntimeError(f"{'; '.join(commands)}: {done.stderr.strip()}")
        return [json.loads(line) for line in done.stdout.splitlines()]

    def readouts(self):
        """Every show command of the switch's reference, with values where it takes some."""
        reference = subprocess.run([self.program, "--print-commands"], stdout=subprocess.PIPE, text=True, timeout=20,
                                   env=self.surroundings, check=True).stdout
        exec_mode = reference[reference.index("## Exec mode"):]
        return [line.split("|")[0].strip() for line in exec_mode.split("```")[1].splitlines()
                if line.startswith("show ")]

    def rows(self, command):
        """The rows of a table, each as a list of words: lines that begin with an address."""
        return [line.split() for line in self.cli(command).splitlines() if re.match(r"\s+\d+\.\d+\.\d+\.\d+\s", line)]

    def bindings(self):
        return {row[0]: row[2] for row in self.rows("show ip dhcp binding")}

    def helpers(self):
        """The relay's helpers: address -> (next hop, VLAN, "valid" or "probing", age, requests, replies)."""
        return {row[0]: tuple(row[1:]) for row in map(str.split, self.cli("show ip helper-address").splitlines())
                if len(row) == 7 and row[0].count(".") == 3}

    def snooped(self, family="ip"):
        """Whom snooping knows: MAC -> (address, VLAN, port, lease, "dynamic" or "static", "bound" or "learning")."""
        rows = [line.split() for line in self.cli(f"show {family} dhcp snooping binding").splitlines()]
        return {row[0]: (row[1], int(row[2]), row[3], row[4], row[6], row[7])
                for row in rows if len(row) == 8 and row[0].count(":") == 5}

    def snooping_drops(self, port):
        """(ACKs, OFFERs) of servers on a port where none may be."""
        for row in map(str.split, self.cli("show ip dhcp snooping").splitlines()):
            if len(row) == 5 and row[0] == port:
                return int(row[3]), int(row[4])
        return 0, 0

    def guarded(self, port, kind="ip verify source"):
        """What a guard counted on a port: passed, dropped, and by reason: unknown address, other MAC, other VLAN (of
        ARP: other sender), malformed."""
        for row in map(str.split, self.cli("show " + kind).splitlines()):
            if len(row) == 7 and row[0] == port:
                return dict(zip(("passed", "dropped", "unknown", "mac", "other", "malformed"), map(int, row[1:])))
        raise KeyError(f"no line of {port} in show {kind}")

    def running(self):
        return self.process is not None and self.process.poll() is None

    def stop(self):
        """Ends the switch as a service manager would; its exit status."""
        self.process.terminate()
        try:
            return self.process.wait(15)
        except subprocess.TimeoutExpired:
            self.process.kill()
            return self.process.wait(5)

    def prompt(self):
        """Hands the terminal to an operator."""
        subprocess.run([self.client, "--socket", self.socket], check=False)
