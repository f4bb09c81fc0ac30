"""A pair of stock servers that share their leases, split the clients between them, and stand in for each other."""
import glob
import json
import socket

from kit.sandbox import HERE
from kit.servers import Server

HOOKS = "/usr/lib/*/kea/hooks"


def control(path, command):
    """Asks a server through its control socket; None when it is not there."""
    try:
        with socket.socket(socket.AF_UNIX) as channel:
            channel.settimeout(10)
            channel.connect(path)
            channel.sendall(json.dumps({"command": command}).encode())
            answer = b""
            while part := channel.recv(65536):
                answer += part
    except OSError:
        return None
    return json.loads(answer) if answer else None


class Partner(Server):
    """One server of a pair. `family` is 4 or 6; `peers` = host name -> its IPv4 address, by which they speak to each other;
    none = a server alone; `subnets` = their description as the server's configuration has it, each with a pool a partner;
    `severity` of what it logs about messages."""

    port = {4: 8004, 6: 8006}  # where it listens to its partner

    def __init__(self, host, family, interface, peers, subnets, times, severity="INFO"):  # not super's
        self.host, self.family = host, family
        self.log, self.control = (f"{HERE}/{host.name}.kea{family}.{kind}" for kind in ("log", "sock"))
        self.config, self.leases = f"{HERE}/{host.name}.kea{family}.json", ""
        self.ready = f"DHCP{family}_STARTED"
        self.process = None
        with open(self.config, "w", encoding="utf-8") as file:
            json.dump({f"Dhcp{family}": {
                "interfaces-config": {"interfaces": interface, **({"dhcp-socket-type": "udp"} if family == 4 else {})},
                "lease-database": {"type": "memfile", "persist": False}, **self._identity(), **times,
                f"subnet{family}": subnets,
                "control-socket": {"socket-type": "unix", "socket-name": self.control},
                "multi-threading": {"enable-multi-threading": True, "thread-pool-size": 1, "packet-queue-size": 64},
                "hooks-libraries": self._hooks(peers) if peers else [],
                "loggers": [{"name": name, "severity": level, "output_options": [{"output": "stdout"}]} for name, level in
                            ((f"kea-dhcp{family}", severity), (f"kea-dhcp{family}.dhcp{family}", "INFO"))]}}, file)

    def _identity(self):
        """Both have to be told apart by the clients, who would otherwise go by the first interface's MAC."""
        return {"server-id": {"type": "EN", "enterprise-id": 2495, "identifier": self.host.name.encode().hex(),
                              "persist": False}} if self.family == 6 else {}

    def _hooks(self, peers):
        folder, = glob.glob(HOOKS)
        return [{"library": f"{folder}/libdhcp_lease_cmds.so"},
                {"library": f"{folder}/libdhcp_ha.so", "parameters": self._partnership(peers)}]

    def _partnership(self, peers):
        """Each serves half of the clients; who hears nothing of the other for five seconds serves all."""
        roles = zip(peers.items(), ("primary", "secondary"))
        return {"high-availability": [{
            "this-server-name": self.host.name, "mode": "load-balancing", "heartbeat-delay": 1000,
            "max-response-delay": 5000, "max-ack-delay": 1000, "max-unacked-clients": 0,
            "multi-threading": {"enable-multi-threading": True, "http-dedicated-listener": True,
                                "http-listener-threads": 1, "http-client-threads": 1},
            "peers": [{"name": name, "url": f"http://{address}:{self.port[self.family]}/", "role": role,
                       "auto-failover": True} for (name, address), role in roles]}]}

    def words(self):
        return [f"kea-dhcp{self.family}", "-c", self.config]

    def state(self):
        """Of the pair as this one sees it: "load-balancing", "partner-down", ...; None when it does not answer."""
        answer = control(self.control, "status-get")
        try:
            return answer["arguments"]["high-availability"][0]["ha-servers"]["local"]["state"]
        except (KeyError, TypeError):
            return None

    def known(self):
        """The leases that it knows: address -> client's MAC, or DUID."""
        answer = control(self.control, f"lease{self.family}-get-all")
        key = "hw-address" if self.family == 4 else "duid"
        return {lease["ip-address"]: lease[key] for lease in answer["arguments"]["leases"]} if answer else {}

    def dies(self):
        self.process.kill()
        self.process.wait(10)
