"""tshark as the judge of every frame that the switch sent: well formed, with right checksums.

Only frames that hosts received count; what hosts send may still lack checksums that their kernel leaves to a network
card. The judge is judged first, on frames that were damaged on purpose.
"""
import subprocess

from kit import pcapng

CHECKED = ["-o", "ip.check_checksum:TRUE", "-o", "udp.check_checksum:TRUE", "-o", "tcp.check_checksum:TRUE"]
FROM_SWITCH = f"frame.packet_flags_direction == {pcapng.FROM_SWITCH}"
BAD_UDP = "udp.checksum.status == \"Bad\""
BAD_ELSE = ("_ws.malformed || ip.checksum.status == \"Bad\" || tcp.checksum.status == \"Bad\" || "
            "icmp.checksum.status == \"Bad\" || icmpv6.checksum.status == \"Bad\" || _ws.short")


def frames(capture, condition):
    """One line a frame of the capture that meets the display filter."""
    done = subprocess.run(["tshark", "-n", "-r", capture, *CHECKED, "-Y", condition], stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True, timeout=60, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"tshark: {done.stderr.strip()}")
    return done.stdout.splitlines()


def sent_by_switch(capture):
    return len(frames(capture, FROM_SWITCH))


def faults(capture, apart=()):
    """Frames with any fault, but for those of the transactions that are judged apart."""
    judged = "".join(f" && !(dhcp.id == {xid:#x})" for xid in apart)
    return frames(capture, f"({FROM_SWITCH}) && ({BAD_UDP} || {BAD_ELSE}){judged}")


def beside_checksum(capture, xid):
    """Frames of one transaction with a fault other than a wrong UDP checksum."""
    return frames(capture, f"({FROM_SWITCH}) && dhcp.id == {xid:#x} && ({BAD_ELSE})")


def sees_damage(good_frame, path):
    """Whether tshark objects to an IPv4/UDP frame with a flipped bit in its payload, one in its IP header, and one
    whose DHCP options were cut off, and does not object to the frame as it was."""
    payload, header, short = bytearray(good_frame), bytearray(good_frame), bytearray(good_frame)
    payload[-1] ^= 1
    header[14 + 8] ^= 1
    short = short[:14 + 20 + 8 + 200]
    writer = pcapng.Writer(path, ["damaged"])
    for data in (good_frame, payload, header, short):
        writer.frame(0, 0, pcapng.FROM_SWITCH, bytes(data))
    writer.close()
    return len(faults(path)) == 3 and sent_by_switch(path) == 4
