"""Cables and hosts: a veth pair a port, with every frame that passes at the host's end kept and written down."""
import itertools
import selectors
import socket
import struct
import threading
import time
from dataclasses import dataclass

from kit import pcapng
from kit.sandbox import Network, run

ETH_P_ALL = 3
SOL_PACKET, PACKET_AUXDATA = 263, 8
VLAN_VALID = 1 << 4
PACKET_OUTGOING = 4
PACKET_IGNORE_OUTGOING = 23
EARS_SIZE = 4 << 20  # or what the system allows
SO_TIMESTAMPNS = 35
MOST_AT_ONCE = 1000  # frames between two looks at who waits for one


class Behind:
    """A machine that a host stands before: its cable ends at the host's `back`, and its frames are not watched."""

    def __init__(self, host, name, back="back", mac=None):
        self.name, self.mac, self.net = name, mac or host.mac[:-2] + "02", Network(name)
        run("ip", "link", "add", back, "netns", host.net.name, "type", "veth", "peer", "name", name, "netns", name)
        host.net.run("ip", "link", "set", back, "addrgenmode", "none", "up")
        self.net.run("ip", "link", "set", "lo", "up")
        self.net.run("ip", "link", "set", name, "address", self.mac, "addrgenmode", "none", "up")


@dataclass
class Frame:
    host: str
    time_ns: int
    from_switch: bool
    data: bytes


class Host:
    """A machine on a port. Its interface bears its name; the switch's end of the cable is `swN`, which lies in the
    network `switch` if that has one of its own. A machine with cables to several ports has one `net`."""

    def __init__(self, name, port, net, switch=None):
        self.name, self.port = name, port
        self.device = f"sw{port}"
        self.mac = f"02:00:00:00:{port:02x}:01"
        self.net = net
        run("ip", "link", "add", self.device, "type", "veth", "peer", "name", name, "netns", self.net.name)
        if switch:
            run("ip", "link", "set", self.device, "netns", switch.name)
        (switch.run if switch else run)("ip", "link", "set", self.device, "addrgenmode", "none", "up")
        self.net.run("ip", "link", "set", "lo", "up")
        self.net.run("ip", "link", "set", name, "address", self.mac, "addrgenmode", "none", "up")
        with self.net:
            self.ears, self.mouth = self._socket(), self._socket()
        self.ears.setsockopt(SOL_PACKET, PACKET_AUXDATA, 1)
        self.ears.setsockopt(socket.SOL_SOCKET, SO_TIMESTAMPNS, 1)
        self.ears.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, EARS_SIZE)
        self.ears.setblocking(False)

    def _socket(self):
        raw = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(ETH_P_ALL))
        raw.bind((self.name, ETH_P_ALL))
        return raw

    def knows(self, address, mac):
        """Spares the host asking for a neighbour: what a client says last may not wait for an answer."""
        self.net.run("ip", "neighbour", "replace", address, "lladdr", mac, "dev", self.name)

    def send(self, data):
        self.mouth.send(bytes(data))

    def receive(self):
        """The next frame, or None. The kernel takes a tag out of the frame; here it goes back in."""
        try:
            data, ancillary, _, address = self.ears.recvmsg(65535, socket.CMSG_SPACE(20) + socket.CMSG_SPACE(16))
        except BlockingIOError:
            return None
        time_ns = time.time_ns()
        for level, kind, value in ancillary:
            if level == socket.SOL_SOCKET and kind == SO_TIMESTAMPNS:
                seconds, nanoseconds = struct.unpack("=qq", value[:16])
                time_ns = seconds * 1_000_000_000 + nanoseconds
            if level == SOL_PACKET and kind == PACKET_AUXDATA:
                status, _, _, _, _, tag, ethertype = struct.unpack("=IIIHHHH", value[:20])
                if status & VLAN_VALID:
                    data = data[:12] + struct.pack("!HH", ethertype or 0x8100, tag) + data[12:]
        return Frame(self.name, time_ns, address[2] != PACKET_OUTGOING, data)


class Wire:
    """Watches all hosts' cables from one thread. `seen` and the capture file grow together."""

    def __init__(self, hosts, capture):
        self.seen = []
        self.news = threading.Condition()
        self._hosts = hosts
        self._index = {host.name: number for number, host in enumerate(hosts)}
        self._file = pcapng.Writer(capture, [host.name for host in hosts])
        self._ends = False
        self._thread = threading.Thread(target=self._watch, daemon=True)
        self._thread.start()

    def _watch(self):
        ready = selectors.DefaultSelector()
        for host in self._hosts:
            ready.register(host.ears, selectors.EVENT_READ, host)
        while not self._ends:
            if ready.select(timeout=0.2):
                self._keep(self._arrived())

    def _arrived(self):
        """All that has come to any host, in the order in which it came: when a round finds nothing, nobody has missed
        what came before something that he was told of."""
        frames = []
        while len(frames) < MOST_AT_ONCE:
            more = [frame for host in self._hosts for frame in itertools.islice(iter(host.receive, None), MOST_AT_ONCE)]
            if not more:
                break
            frames += more
        return sorted(frames, key=lambda frame: frame.time_ns)

    def _keep(self, frames):
        for frame in frames:
            direction = pcapng.FROM_SWITCH if frame.from_switch else pcapng.TO_SWITCH
            self._file.frame(self._index[frame.host], frame.time_ns, direction, frame.data)
        with self.news:
            self.seen += frames
            self.news.notify_all()

    def now(self):
        """A mark: what arrives from here on."""
        with self.news:
            return len(self.seen)

    def since(self, mark, matches):
        with self.news:
            return [frame for frame in self.seen[mark:] if matches(frame)]

    def wait(self, mark, matches, seconds):
        """The first frame after the mark that matches; None when the time is over."""
        deadline = time.monotonic() + seconds
        with self.news:
            while True:
                for frame in self.seen[mark:]:
                    mark += 1
                    if matches(frame):
                        return frame
                left = deadline - time.monotonic()
                if left <= 0:
                    return None
                self.news.wait(left)

    def close(self):
        self._ends = True
        self._thread.join(5)
        self._file.close()
