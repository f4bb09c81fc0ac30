"""IPv6 at a host: its link-local address, and what its interface has."""
import ipaddress
import re


def link_local(mac):
    """fe80::/64 and the MAC as an interface identifier."""
    parts = [int(part, 16) for part in mac.split(":")]
    parts[0] ^= 2
    words = parts[:3] + [0xFF, 0xFE] + parts[3:]
    return str(ipaddress.IPv6Address(b"\xfe\x80" + bytes(6) + bytes(words)))


def speaks_ip6(host, address=None):
    """Gives the host its link-local address, and one of a /64 beside it; it does not ask whether others have them."""
    for each in filter(None, (link_local(host.mac), address)):
        host.net.run("ip", "-6", "address", "replace", f"{each}/64", "dev", host.name, "nodad")


def addresses(shown):
    """Global addresses that `ip -6 address` shows, each with its length."""
    return re.findall(r"inet6 (\S+) scope global", shown)
