#!/usr/bin/python3
"""Writes the first inputs of each target's corpus: whole frames, frames cut short, options that lie, and short lives of a
server. What fuzzing has found worth keeping lies beside them under names of its own."""
import pathlib
import struct

CORPUS = pathlib.Path(__file__).parent / "corpus"
COOKIE = bytes([99, 130, 83, 99])


def option(code, value):
    return bytes([code, len(value)]) + value


def message(options, sname=b"", file=b"", giaddr=0, hlen=6):
    fixed = struct.pack("!BBBBIHHIIII", 1, 1, hlen, 0, 0x11223344, 0, 0, 0, 0, 0, giaddr)
    chaddr = bytes([2, 0, 0, 0, 0, 7]).ljust(16, b"\0")
    return fixed + chaddr + sname.ljust(64, b"\0") + file.ljust(128, b"\0") + COOKIE + options


def frame(dhcp, tagged=True):
    udp = struct.pack("!HHHH", 68, 67, 8 + len(dhcp), 0) + dhcp
    ip = struct.pack("!BBHHHBBHII", 0x45, 0, 20 + len(udp), 0, 0, 64, 17, 0, 0, 0xFFFFFFFF) + udp
    tag = bytes([0x81, 0, 0, 10]) if tagged else b""
    return b"\xff" * 6 + bytes([2, 0, 0, 0, 0, 7]) + tag + b"\x08\x00" + ip


def raw_step(data):
    """A whole frame as it comes from the wire."""
    return bytes([6]) + struct.pack("!H", len(data)) + data


def client_step(client, chosen, kind, options=0, rest=b"", step=0):
    """A message that the target builds: client, where from, DHCP type, which options, and their values."""
    return bytes([step, client, chosen, kind, options]) + rest


DISCOVER, REQUEST, DECLINE, RELEASE, INFORM = 1, 3, 4, 7, 8
CHECK = 0x80
discover_options = option(53, b"\x01") + option(55, bytes([1, 3, 6, 15, 66, 67])) + b"\xff"
whole = message(discover_options)


def server_door():
    yield "discover", raw_step(frame(whole)) + bytes([CHECK | 7, 1])
    yield "untagged", raw_step(frame(whole, tagged=False))
    yield "relayed", raw_step(frame(message(discover_options, giaddr=0x0A1E0009)))
    for cut in (0, 13, 14, 18, 37, 38, 45, 46, 285, 286, 287, 289):
        yield f"cut_{cut}", raw_step(frame(whole)[:cut])
    lying = bytearray(frame(whole))
    lying[287] = 250
    yield "lying_length", raw_step(bytes(lying))
    long_address = message(option(53, b"\x01") + b"\xff", hlen=255)
    yield "long_hardware_address", raw_step(frame(long_address))
    overloaded = message(option(52, b"\x03") + b"\xff", file=option(53, b"\x01") + b"\xff", sname=option(50, bytes([10, 10, 0, 30])) + b"\xff")
    yield "overload", raw_step(frame(overloaded))
    lease = client_step(1, 0, DISCOVER, 4) + client_step(1, 0, REQUEST, 3, bytes([2, 0]))
    yield "lease", lease + bytes([CHECK | 7, 200])
    yield "late_request", client_step(1, 0, DISCOVER) + bytes([7, 6]) + client_step(1, 0, REQUEST, 3, bytes([2, 0]))
    yield "decline", lease + client_step(1, 0, DECLINE, 3, bytes([2, 0])) + client_step(2, 0, DISCOVER) + bytes([CHECK | 7, 0x99])
    yield "release", client_step(1, 0, DISCOVER) + client_step(1, 16, RELEASE, 2, bytes([2, 0]))
    yield "inform", client_step(1, 16, INFORM, 4)
    yield "static_host", client_step(0x11, 0, DISCOVER) + client_step(0x11, 0, REQUEST, 3, bytes([4, 0]))
    yield "exhausted", b"".join(client_step(n, 2, DISCOVER) for n in range(6)) + bytes([CHECK | 7, 1])
    yield "ranges", bytes([8, 2, 9]) + client_step(1, 0, DISCOVER) + bytes([8, 2, 0x89]) + client_step(2, 0, DISCOVER)
    yield "last_address", b"".join(client_step(n, 0x80, DISCOVER) for n in range(7))
    yield "crowd", bytes([14, 255, 14, 255, CHECK | 7, 3, 7, 9])
    yield "too_many_options", bytes([12, 20, 255]) + client_step(1, 0, DISCOVER, 4)
    yield "bent", client_step(1, 0, DISCOVER, step=5) + bytes([33])
    identifier = lambda size: client_step(3, 0, DISCOVER, 8, bytes([size]) + bytes(range(size)))
    yield "identifiers", b"".join(identifier(size) for size in (0, 1, 2, 32, 33))


def options4():
    yield "message", whole
    yield "bare", discover_options
    yield "overload_file", message(option(52, b"\x01") + b"\xff", file=option(54, bytes(4)) + b"\xff")
    yield "overload_sname", message(option(52, b"\x02") + b"\xff", sname=option(61, bytes(7)) + b"\xff")
    yield "overload_both", message(option(52, b"\x03") + b"\xff", file=b"\xff", sname=option(50, bytes(4)) + b"\xff")
    yield "no_end", message(option(53, b"\x01"))
    yield "empty_last", message(option(53, b"\x01") + bytes([50, 0]))
    yield "claims_one_more", message(bytes([50, 4, 1, 2, 3]))
    yield "code_only", message(bytes([50]))
    yield "pads", message(bytes(68))
    yield "empty_overload", message(bytes([52, 0, 255]))
    yield "area_limit", message(bytes(300) + option(50, bytes(6)))
    yield "write_full", bytes([200, 112]) + bytes([52, 255]) + bytes(255) + bytes([60, 51]) + bytes(51)


def option82():
    plain = option(53, b"\x01") + option(55, bytes([1, 3, 6]))
    foreign = option(82, b"\x01\x02xy")
    areas = {"bare": plain + b"\xff", "first": foreign + plain + b"\xff", "last": plain + foreign + b"\xff",
             "twice": foreign + plain + foreign + b"\xff\0\0", "pads": b"\0" + plain + b"\0\0\xff\0", "no_end": plain,
             "cut": plain + bytes([82]), "cut_length": plain + bytes([82, 200, 1]), "empty_82": bytes([82, 0, 255]),
             "full": bytes(1193) + b"\xff", "one_more": bytes(1194) + b"\xff", "only_end": b"\xff"}
    for name, area in areas.items():
        for mode in range(3):
            yield f"{name}_{mode}", bytes([mode, 0, 0]) + area
    yield "strings", bytes([2, 0xFF, 0]) + plain + b"\xff"
    yield "address", bytes([1, 4, 0]) + foreign + b"\xff"
    yield "bent", bytes([2, 0, 254]) + plain + b"\xff"


def snooping_step(step, who, chosen, kind, yiaddr=5, lease=b"", more=0, rest=b""):
    """A message on the port that the step chooses: client, VLAN and address, DHCP type, options."""
    return bytes([step, who, chosen, kind, yiaddr]) + lease + bytes([more]) + rest


UNTRUSTED, TRUSTED, SUPPRESSED, RELAY = 0x00, 0x10, 0x20, 0x04
OFFER, ACK, NAK = 2, 5, 6


def snooping_door():
    hour = struct.pack("!I", 3600)
    lease = snooping_step(UNTRUSTED, 9, 0, DISCOVER) + snooping_step(TRUSTED, 9, 0, OFFER)
    lease += snooping_step(UNTRUSTED, 9, 0, REQUEST) + snooping_step(TRUSTED, 9, 0x80, ACK, lease=hour)
    yield "lease", lease + bytes([7, 0xFF, 7, 0xFF])
    yield "release", lease + snooping_step(UNTRUSTED, 9, 0, RELEASE)
    yield "decline", lease + snooping_step(UNTRUSTED, 9, 0, DECLINE) + snooping_step(0x40, 9, 0, RELEASE)
    yield "rogue", b"".join(snooping_step(UNTRUSTED, 9, 0, kind) for kind in (OFFER, ACK, NAK))
    yield "takes_over", lease + snooping_step(UNTRUSTED, 8, 0, REQUEST) + snooping_step(TRUSTED, 8, 0x80, ACK, lease=hour)
    yield "static", snooping_step(UNTRUSTED, 1, 0, REQUEST) + snooping_step(TRUSTED, 1, 0, ACK) + snooping_step(UNTRUSTED, 1, 0, RELEASE)
    yield "own_option82", snooping_step(UNTRUSTED, 9, 2, DISCOVER, more=1 | 6 << 2, rest=bytes([1, 4, 0, 1, 2, 3]))
    yield "strip", lease + snooping_step(TRUSTED, 9, 0, ACK, more=1 | 6 << 2, rest=bytes([1, 4, 0, 1, 2, 3]))
    yield "relay", snooping_step(UNTRUSTED | RELAY, 9, 2, DISCOVER) + snooping_step(TRUSTED | RELAY, 9, 2, OFFER)
    yield "suppressed", snooping_step(SUPPRESSED, 9, 0, DISCOVER)
    yield "verify", bytes([5, 2, 1]) + snooping_step(UNTRUSTED, 0x89, 0, DISCOVER) + bytes([5, 3, 0x89]) + snooping_step(UNTRUSTED, 0x89, 0, DISCOVER)
    yield "servers", bytes([5, 4, 0x81]) + snooping_step(TRUSTED, 9, 0, OFFER) + snooping_step(TRUSTED, 9, 8, OFFER)
    yield "crowd", b"".join(bytes([15, n]) for n in range(5)) + snooping_step(UNTRUSTED, 9, 0, DISCOVER) + bytes([7, 31])
    for kind in range(18):
        yield f"clear_{kind}", lease + bytes([5, 7, kind])
    yield "no_end", snooping_step(UNTRUSTED, 9, 0, DISCOVER, more=2, rest=bytes([0]))
    yield "raw", raw_step(frame(whole))


def empty_relay_forward():
    """A whole frame whose relay message option holds nothing."""
    headers = bytes(6) + bytes([2, 0, 0, 0, 0, 7, 0x81, 0, 0, 10, 0x86, 0xDD, 0x60, 0, 0, 0, 0, 46, 17, 1]) + bytes(32)
    return headers + struct.pack("!HHHH", 547, 547, 46, 0) + bytes([12, 0]) + bytes(32) + struct.pack("!HH", 9, 0)


def relay6_door():
    inner = bytes([1, 1, 2, 3]) + struct.pack("!HH", 1, 3) + b"abc"
    client = lambda who, kind, chosen=0, rest=b"": bytes([0, who, chosen, kind]) + rest
    carried = struct.pack("!H", len(inner)) + inner  # in the Relay Message option that the target begins
    solicit, forward = client(9, 1), client(9, 12, 16, b"\x05" + carried)
    yield "solicit", solicit
    yield "types", b"".join(client(n, n) for n in range(16))
    yield "forward", forward + forward
    yield "reply", client(5, 13, 17, b"\x00" + carried)  # to client 1, whose link is kept
    yield "reply_to_client", client(8, 13, 17, b"\x03" + carried)
    yield "unknown_peer", client(200, 13, 17, b"\x03" + carried)
    yield "other_option_first", client(9, 12, 24, b"\x00\x00\x12\x01\x07" + carried)
    yield "no_option", client(9, 12, 0, b"\x00") + client(5, 13, 0, b"\x00")
    yield "lying_length", client(9, 12, 80, b"\x00" + carried + b"\xff") + client(9, 1, 64, b"\x07") + client(9, 1, 64, b"\x00")
    yield "crowd", bytes([7, 1, 7, 2]) + solicit + bytes([5, 4, 61]) + solicit
    yield "destinations", b"".join(bytes([5, 0x81, 0x80 | n, 5, 1, n]) for n in range(16)) + solicit
    yield "no_address", bytes([5, 1, 0xA5]) + solicit
    yield "ageing", bytes([5, 4, 0xA0, 5, 3, 0]) + solicit + bytes([5, 2, 0]) + solicit
    yield "longest", client(9, 12, 16, b"\x00" + struct.pack("!H", 1499) + bytes(1499))
    for cut in (0, 13, 17, 57, 65, 66, 69, 70, 99, 100, 103):
        yield f"cut_{cut}", raw_step(empty_relay_forward()[:cut])


def server6_step(who, kind, chosen=0, address=0x20, rest=b""):
    """A client's message: type, which options, the address in its IA, what the options take."""
    return bytes([1, who, kind, chosen, address]) + rest


def server6_door():
    bare = b"\x0c"  # the IA is cut behind T2: no address
    lease = server6_step(8, 1, 32, rest=bare) + server6_step(8, 3, 4, 0x10)
    relay = lambda who, kind, chosen=0, address=0x20, how=0, link=0x40: bytes([3, who, kind, chosen, address, how, link])
    yield "lease", lease
    for kind in range(1, 14):
        yield f"type_{kind}", lease + server6_step(8, kind, 4, 0x10) + server6_step(0, kind, 4, 0x20)
    yield "temporary", server6_step(8, 1, 16) + server6_step(8, 3, 20)
    yield "no_client", server6_step(8, 1, 2)
    yield "long_client", server6_step(8, 1, 1, 230, rest=b"\x20") + server6_step(8, 1, 1, 255, rest=b"\x20")
    yield "own_static", server6_step(5, 1) + server6_step(5, 3, 4, 0x15)
    yield "relayed", relay(9, 1) + relay(9, 3, 4, 0x50) + relay(9, 9, 4, 0x50)
    yield "relayed_id", bytes([3, 9, 1, 0, 0x50, 16, 0x40, 3]) + b"abc" + relay(10, 1, how=12)
    yield "expiry", lease + bytes([13, 59, 13, 60, 13, 255]) + server6_step(8, 5, 4, 0x10)
    yield "crowd", bytes([5, 255, 5, 255]) + server6_step(8, 1)
    yield "narrow", b"".join(relay(n, 1) for n in range(9, 27))
    yield "pools", b"".join(bytes([6, n, 0x10, 0x30, 120]) for n in range(16)) + server6_step(8, 1)
    yield "lists", b"".join(bytes([7, n, 0x20 | n, n]) for n in range(16)) + server6_step(8, 1)
    for cut in (17, 57, 65, 69, 99, 103):
        yield f"cut_{cut}", bytes([0]) + struct.pack("!H", cut) + empty_relay_forward()[:cut]


def client6_answer(where, chosen, kind, rest=b""):
    """An answer to the interface in that state: which options it has, type 0 = ADVERTISE, 1 = REPLY, and their values."""
    return bytes([0, where, chosen, kind]) + rest


def client6_door():
    duid = bytes([7, 0, 3, 0, 1, 1, 2, 3])
    ia = struct.pack("!III", 10, 20, 40)
    leased = ia + struct.pack("!HH", 5, 24) + bytes([0x20]) + bytes(14) + bytes([5]) + struct.pack("!II", 50, 60)
    whole_ia = bytes([len(leased)]) + leased
    second = bytes([4, 1])
    yield "lease", client6_answer(0, 0, 0, duid + whole_ia) + second + client6_answer(0, 0, 1, duid + whole_ia) + second
    yield "lives", second * 60
    yield "clock", bytes([4, 100, 4, 0x80 | 120, 4, 127]) + second * 3
    for state in range(8):
        yield f"reply_{state}", client6_answer(state, 16 | 32, 1, duid + whole_ia + bytes([32]) + bytes(32) + bytes([1, 64])) + second
        yield f"refused_{state}", client6_answer(state, 8, 1, duid + whole_ia + bytes([2, 0, 2])) + second
    yield "no_address", client6_answer(1, 0, 1, duid + bytes([12]) + ia) + second * 3
    yield "cut_ia", client6_answer(1, 0, 1, duid + bytes([11]) + ia[:11])
    yield "missing", b"".join(client6_answer(1, bit, 1, duid + whole_ia) for bit in (1, 2, 4))
    yield "long_duid", client6_answer(1, 0xC0, 1, bytes([255]) + bytes(1020) + whole_ia) + second * 3
    yield "modes", bytes([6, 2, 6, 0x22, 6, 0x42, 6, 0x62, 6, 0x82]) + second * 2


def binding_file():
    line = b"02:00:00:00:00:%02x,3600,10,%d,0,%u\n"
    yield "three", b"".join(line % (n, n, 0x0A0A0000 + n) for n in (1, 2, 3))
    yield "same_mac", line % (1, 1, 5) + line % (1, 2, 6)
    yield "same_address", line % (1, 1, 5) + line % (2, 1, 5)
    yield "garbled", b"02:00:00,x\n\n,,,,,\n" + line % (1, 1, 5) + b"zz" * 300 + b"\n"
    yield "numbers", b"ffffffff:-1:0x10:1:2:3,-1,99999999999,-5,7,4294967296\n"
    yield "many", b"".join(line % (n % 256, 1, n) for n in range(1, 300))
    yield "no_newline", (line % (1, 1, 5))[:-1]
    line6 = b"02:00:00:00:00:%02x,3600,10,%d,0,2001:db8::%x\n"
    yield "ipv6", b"".join(line6 % (n, n, n) for n in (1, 2, 3)) + line6 % (1, 2, 9) + line6 % (4, 1, 1)
    yield "ipv6_long", b"02:00:00:00:00:01,1,10,1,0," + b"0:" * 60 + b"\n" + (line6 % (1, 1, 5)).replace(b"\n", b"\r\n")


def relay_step(who, chosen, server=0, rest=b"", reply=False, group=False):
    """A message of a client or of a helper: who, VLAN, flags and options, which helper."""
    return bytes([(1 if reply else 0) | (8 if group else 0), who, chosen, server]) + rest


def relay_door():
    broadcast, identified, client82, more, endless = 8, 16, 32, 64, 128
    circuit = option(1, b"here!")
    asked = relay_step(9, 0) + relay_step(9, 0x11 | broadcast, 0, reply=True)
    yield "exchange", asked + relay_step(9, identified) + relay_step(9, 0x11, 0, reply=True)
    yield "chosen_unknown", relay_step(9, identified, 2) + relay_step(9, identified, 9)
    yield "reply_unknown", relay_step(40, 1, reply=True) + relay_step(40, 5, reply=True)
    for trust in range(3):
        for insert in range(2):
            yield f"option82_{trust}{insert}", bytes([5, 0, trust, 5, 1, insert]) + asked + relay_step(9, client82, 7, circuit)
    for mode in range(3):
        yield f"tag_mode_{mode}", bytes([5, 2, 0, 5, 3, mode + 64 * mode // 2]) + asked + relay_step(9, client82, 7, circuit)
    yield "no_helper", b"".join(bytes([5, 5, n]) for n in range(3)) + asked
    yield "many_helpers", b"".join(bytes([5, 4, 64 | n]) for n in range(12)) + asked
    yield "crowd", b"".join(bytes([7, n]) for n in range(4)) + asked + bytes([5, 7, 21]) + asked
    yield "endless", relay_step(9, endless) + relay_step(9, endless | more, rest=bytes([1, 82]))
    yield "grown", relay_step(9, more, rest=bytes([200]) + bytes(200), group=True)
    yield "raw", raw_step(frame(whole)) + raw_step(frame(whole)[:300])


def snooping6_step(step, who, chosen, kind, more=0, rest=b""):
    """A message on the port that the step chooses: client, VLAN and addresses, DHCPv6 type, options and their bytes."""
    return bytes([step, who, chosen, kind, more]) + rest


def snooping6_door():
    leased = bytes([5]) + struct.pack("!II", 300, 600)
    reply = snooping6_step(TRUSTED, 9, 4, 7, rest=leased)
    lease = snooping6_step(UNTRUSTED, 9, 0, 1, 16) + reply
    yield "lease", lease + bytes([7, 0xFF, 7, 0xFF])
    yield "temporary", snooping6_step(UNTRUSTED, 9, 0, 3, 16) + snooping6_step(TRUSTED, 9, 4, 7, 1, leased)
    yield "moves", lease + snooping6_step(0x30, 9, 1, 3, 16) + snooping6_step(TRUSTED, 9, 4, 7, rest=leased)
    yield "same_address", lease + snooping6_step(UNTRUSTED, 8, 0, 1, 16) + snooping6_step(TRUSTED, 8, 4, 7, rest=leased)
    yield "static", snooping6_step(TRUSTED, 1, 4, 7, rest=leased) + bytes([5, 4, 0xA1])
    yield "rogue", snooping6_step(UNTRUSTED, 9, 4, 2) + snooping6_step(UNTRUSTED, 9, 4, 13)
    yield "unknown", snooping6_step(UNTRUSTED, 9, 0, 5, 16)
    yield "trusted_later", lease + bytes([5, 3, 1 + 3 * 2]) + reply
    yield "relay", bytes([5, 0, 1]) + lease + bytes([5, 1, 0])
    yield "servers", bytes([5, 2, 0x88]) + snooping6_step(TRUSTED, 9, 12, 7, rest=leased)
    yield "endless", snooping6_step(UNTRUSTED, 9, 0, 1, 16) + snooping6_step(TRUSTED, 9, 4, 7, rest=bytes([5]) + b"\xff" * 8) + bytes([7, 1, 7, 1])
    for size in (35, 36, 39, 40):
        yield f"ia_{size}", snooping6_step(UNTRUSTED, 9, 0, 1, 16) + snooping6_step(TRUSTED, 9, 4, 7, 4, leased + bytes([size]))
    yield "udp_length", snooping6_step(UNTRUSTED, 9, 0, 1, 16) + snooping6_step(TRUSTED, 9, 4, 7, 32, leased + b"\0\x0c")
    yield "crowd", b"".join(bytes([15, n]) for n in range(5)) + snooping6_step(UNTRUSTED, 9, 0, 1, 16) + bytes([7, 31])
    for kind in range(18):
        yield f"clear_{kind}", lease + bytes([5, 5, kind])


def options6():
    two = lambda code, value: struct.pack("!HH", code, len(value)) + value
    address = two(5, bytes(24))
    solicit = bytes([1, 1, 2, 3]) + two(1, bytes(10)) + two(3, bytes(12) + address)
    yield "message", b"\0\0" + solicit
    yield "temporary", b"\0\0" + bytes(4) + two(4, bytes(4) + address)
    yield "status_first", b"\0\0" + bytes(4) + two(3, bytes(12) + two(13, bytes(30)))
    yield "relay", b"\0\0" + bytes([12, 1]) + bytes(32) + two(9, solicit) + two(18, b"port")
    for length in (0, 7, 8, 12, 13, 15, 16, 30, 0x7FF):
        yield f"claims_{length}", struct.pack("!H", 0x8000 | length) + solicit
    yield "write_full", bytes([200]) + struct.pack("!HH", 1, 950) + bytes(950) + bytes([0])
    yield "write_one_more", bytes([200]) + struct.pack("!HH", 1, 951) + bytes(951) + bytes([0])
    yield "nested", bytes([40]) + struct.pack("!HH", 3, 12) + bytes(12) + bytes([7]) + bytes(7)


for target in (client6_door, server_door, options4, option82, snooping_door, relay_door, relay6_door, server6_door, binding_file, snooping6_door, options6):
    folder = CORPUS / target.__name__
    folder.mkdir(parents=True, exist_ok=True)
    for name, data in target():
        (folder / f"seed_{name}").write_bytes(data)
