# The Debian packages that building, the lab and the checks need. Sourced by ./demo and ./check.

demo_packages="g++ cmake ninja-build libcli-dev nlohmann-json3-dev
  python3 python3-scapy tshark isc-dhcp-client dhcpcd-base dnsmasq-base kea-dhcp4-server kea-dhcp6-server
  isc-dhcp-relay nftables iproute2 util-linux curl python3-prometheus-client"
check_packages="$demo_packages clang clang-format clang-tidy libclang-rt-14-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev g++-mips-linux-gnu qemu-user
  kea-admin tcpdump ethtool procps git make pkg-config dpkg-dev man-db bsdextrautils
  adduser file"

coverage_packages="$check_packages gcovr"
bench_packages="$check_packages isc-dhcp-server linux-perf"

# install_packages demo|check|coverage|bench: installs what is missing, or says how when it may not.
install_packages() {
  case $1 in
    demo) _wanted=$demo_packages ;;
    coverage) _wanted=$coverage_packages ;;
    bench) _wanted=$bench_packages ;;
    *) _wanted=$check_packages ;;
  esac
  if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    echo "Not a Debian system; expecting the equivalent of these packages:" $_wanted >&2
    return 0
  fi
  _missing=
  for _package in $_wanted; do
    case $(dpkg-query -W -f '${Status}' "$_package" 2>/dev/null) in
      *' installed') ;;
      *) _missing="$_missing $_package" ;;
    esac
  done
  [ -n "$_missing" ] || return 0
  if [ "$(id -u)" -ne 0 ]; then
    echo "Some packages are missing. Install them with" >&2
    echo "  sudo apt-get install --no-install-recommends$_missing" >&2
    return 1
  fi
  echo "Installing$_missing" >&2
  { DEBIAN_FRONTEND=noninteractive apt-get update -q && install_quietly $_missing; } >&2
}

# install_quietly PACKAGE...: without starting what the packages would start. The lab runs its servers and relays by
# itself, in networks of its own; on this machine's network they have nothing to do, now and after its next start.
install_quietly() {
  _policy=/usr/sbin/policy-rc.d
  _ours=no
  if [ ! -e $_policy ]; then
    _ours=yes
    printf '#!/bin/sh\nexit 101\n' > $_policy && chmod +x $_policy
  fi
  DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "$@"
  _result=$?
  [ $_ours = no ] || rm -f $_policy
  for _package in "$@"; do
    case $_package in
      kea-dhcp4-server | kea-dhcp6-server | isc-dhcp-relay | isc-dhcp-server)
        ! command -v systemctl >/dev/null || systemctl disable --quiet "$_package" || true
        ;;
    esac
  done
  return $_result
}
