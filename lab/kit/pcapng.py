"""Writes frames as pcapng: one interface a host, and for each frame whether the switch sent it."""
import struct

FROM_SWITCH, TO_SWITCH = 1, 2  # a packet's direction flags, as the host sees it: received, sent


def _option(code, value):
    return struct.pack("<HH", code, len(value)) + value + bytes(-len(value) % 4)


def _block(kind, body):
    size = 12 + len(body)
    return struct.pack("<II", kind, size) + body + struct.pack("<I", size)


class Writer:
    def __init__(self, path, interfaces):
        self.file = open(path, "wb")  # noqa: closed by close()
        self.file.write(_block(0x0A0D0D0A, struct.pack("<IHHq", 0x1A2B3C4D, 1, 0, -1)))
        nanoseconds = _option(9, b"\x09")
        for name in interfaces:
            self.file.write(_block(1, struct.pack("<HHI", 1, 0, 0) + _option(2, name.encode()) + nanoseconds +
                                   _option(0, b"")))

    def frame(self, interface, time_ns, direction, data):
        head = struct.pack("<IIIII", interface, time_ns >> 32, time_ns & 0xFFFFFFFF, len(data), len(data))
        padded = data + bytes(-len(data) % 4)
        flags = _option(2, struct.pack("<I", direction)) + _option(0, b"")
        self.file.write(_block(6, head + padded + flags))

    def close(self):
        self.file.close()
