"""What the DHCPv6 relay should make of a frame, byte by byte, and what came of it."""
from kit.dhcp6 import ADVERTISE, REPLY, Relayed, datagram, ip6_text, payload, relaying

RELAY_FORWARD, RELAY_REPLY = 12, 13
ANSWERS = (ADVERTISE, REPLY)
REQUESTS = tuple(set(range(1, 12)) - {*ANSWERS, 10})
HOPS = 64  # of every frame that the relay builds


def forwarded(frame, ends, macs, tag=b"", further=0):
    """A client's or further relay's untagged frame on its way to a server; `ends` = the relay's address and the
    server's, `macs` = the relay's and the next hop's, `further` = destinations that were served before."""
    message, peer, hops = payload(frame), ip6_text(frame[22:38]), 0
    if message[0] == RELAY_FORWARD:
        hops, message = message[1] + further, Relayed(frame).carried()
    return datagram(*macs, *ends, (546, 547), relaying(RELAY_FORWARD, hops, ends[0], peer, message), tag, HOPS)


def returned(frame, relay, macs, below=None):
    """A server's untagged Relay-reply on its way to the client, or to the further relay that sent the link-address and
    peer-address `below`; `relay` = the relay's address in the client's VLAN, `macs` = its MAC and the client's."""
    reply = Relayed(frame)
    message = relaying(RELAY_REPLY, reply.hops, *below, reply.carried()) if below else reply.carried()
    return datagram(*macs, relay, reply.peer, (547, 546), message, b"", HOPS)


def of_kinds(lab, mark, host, from_switch, kinds):
    """The untagged DHCPv6 frames of these message types that came out at a host, or that it sent."""
    return [frame.data for frame in lab.wire.since(mark, lambda frame: frame.host == host and
                                                   frame.from_switch == from_switch and
                                                   payload(frame.data)[:1] in map(bytes, zip(kinds)))]


def same_exchange(lab, mark, client, server, own, relay):
    """All that a client sent since the mark came to the server, and all answers to the client, byte for byte. `own` and
    `relay`: the switch's addresses in the server's VLAN and in the client's; `server` = host name and address."""
    mac, name = lab.hosts[client].mac, server[0]
    towards, back = (lab.switch.mac, lab.hosts[name].mac), (lab.switch.mac, mac)

    def differences():
        asked = [forwarded(data, (own, server[1]), towards) for data in of_kinds(lab, mark, client, False, REQUESTS)]
        answers = [returned(data, relay, back) for data in of_kinds(lab, mark, name, False, (RELAY_REPLY,))]
        pairs = ((of_kinds(lab, mark, name, True, (RELAY_FORWARD,)), asked),
                 (of_kinds(lab, mark, client, True, ANSWERS), answers))
        return [(got, want) for got, want in pairs if got != want or not got]
    try:
        lab.wait_until(lambda: not differences(), 2, "frames as they should be")
    except TimeoutError:
        for got, want in differences():
            lab.say("\n".join(["got", *(data.hex() for data in got), "want", *(data.hex() for data in want)]))
        raise
    counts = [len(of_kinds(lab, mark, *which)) for which in ((name, True, (RELAY_FORWARD,)), (client, True, ANSWERS))]
    lab.expect_that(f"{counts[0]} messages of {client} and {counts[1]} answers, byte for byte as they should be", True)
