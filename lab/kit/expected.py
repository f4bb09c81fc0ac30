"""What the switch should make of a frame, byte by byte, and what came of it."""
import struct

from kit.crafted import dhcp, ip_bytes

AGENT, LINK = 82, 14


def default_ids(lab, vlan, port):
    """Circuit id: type 0, VLAN, module 0, port. Remote id: type 0, the switch's MAC."""
    circuit = b"\0\x04" + struct.pack("!HBB", vlan, 0, port)
    return bytes([1, 6]) + circuit + bytes([2, 8]) + b"\0\x06" + bytes.fromhex(lab.switch.mac.replace(":", ""))


def words_sum(header):
    total = sum(struct.unpack(f"!{len(header) // 2}H", header))
    while total > 0xFFFF:
        total = (total & 0xFFFF) + (total >> 16)
    return total ^ 0xFFFF


def resized(frame, size, udp_checksum=b"\0\0"):
    """Both length fields made to fit a DHCP message that is `size` bytes longer, the IP checksum anew, and none of UDP
    unless given; `frame` is untagged and already has its new bytes."""
    data = bytearray(frame)
    ip, udp = LINK, LINK + 20
    for at in (ip + 2, udp + 4):
        struct.pack_into("!H", data, at, struct.unpack_from("!H", data, at)[0] + size)
    data[ip + 10:ip + 12], data[udp + 6:udp + 8] = b"\0\0", udp_checksum
    struct.pack_into("!H", data, ip + 10, words_sum(bytes(data[ip:ip + 20])))
    return bytes(data)


def options_at(frame):
    return frame.index(bytes((99, 130, 83, 99))) + 4


def end_at(frame):
    """Where the End option stands."""
    at = options_at(frame)
    while frame[at] != 255:
        at += 1 if frame[at] == 0 else 2 + frame[at + 1]
    return at


def untagged(frame):
    return frame[:12] + frame[16:] if frame[12:14] == b"\x81\x00" else frame


def with_agent(frame, value, udp_checksum=b"\0\0"):
    """A client's untagged frame with option 82 behind its own options."""
    option = bytes([AGENT, len(value)]) + value
    at = end_at(frame)
    return resized(frame[:at] + option + frame[at:], len(option), udp_checksum)


def tagged(frame, vlan):
    return frame[:12] + struct.pack("!HH", 0x8100, vlan) + frame[12:]


def link(address):
    """Sub-option 5: the network that the client is in (RFC 3527)."""
    return b"\5\4" + ip_bytes(address)


def routed(frame, relay, helper, macs):
    """A client's untagged frame on its way from the relay to a helper; `macs` = the next hop's, the relay's."""
    data = bytearray(frame)
    data[:12] = b"".join(bytes.fromhex(mac.replace(":", "")) for mac in macs)
    data[LINK + 12:LINK + 20] = ip_bytes(relay) + ip_bytes(helper)
    message = LINK + 28
    data[message + 3] += 1
    data[message + 24:message + 28] = ip_bytes(relay)
    return resized(data, 0)


def put(frame, where, option):
    """The frame as its sender would have made it with one option more: first, in the middle, or last."""
    at = options_at(frame)
    ends = end_at(frame)
    if where == "in the middle":
        while at < (options_at(frame) + ends) // 2:
            at += 2 + frame[at + 1]
    elif where == "last":
        at = ends
    return resized(frame[:at] + option + frame[at:], len(option))


def arriving(lab, mark, host, client, seconds=5):
    """The client's next message, or the answer to it, as it comes out at a host."""
    found = lab.wire.wait(mark, lambda frame: frame.from_switch and frame.host == host and
                          (message := dhcp(frame.data)) is not None and message.xid == client.xid, seconds)
    if found is None:
        raise TimeoutError(f"nothing of {client.mac} came out at {host}")
    return found


def same_bytes(lab, what, got, want):
    lab.expect_that(f"{what}: {len(want)} bytes as they should be", got.data == want or
                    lab.say(f"got  {got.data.hex()}\nwant {want.hex()}"))
