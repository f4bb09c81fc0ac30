#!/usr/bin/env bash
# The C example beside a build for 32-bit big-endian MIPS, served under emulation: scripts/packaging/cross.sh BUILD
# The emulator cannot make the interface eth0.10, so it is there before.
set -euo pipefail
root=$(realpath "$(dirname "$0")/../..")
build=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
. "$root/scripts/packaging/common.sh"

for component in library development; do
  cmake --install "$build" --prefix "$work/prefix" --component $component > /dev/null
done
cmake -S "$root/examples/minimal" -B "$work/example" -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mips-linux-gnu.cmake" > /dev/null
cmake --build "$work/example" > /dev/null
cat > "$work/served" << END
#!/bin/sh
set -e
ip link set dev lo down name eth0.10 address 02:00:00:00:00:01
ip link set dev eth0.10 up
ip address flush dev eth0.10
ip address add 192.168.10.1/24 dev eth0.10
exec qemu-mips -L /usr/mips-linux-gnu "$work/example/minimal"
END
cat > "$work/alone" << END
#!/bin/sh
[ "\$(id -u)" -eq 0 ] || user="--user --map-root-user"
exec unshare --net \${user:-} sh "$work/served"
END
chmod +x "$work/alone"
offers "$work/alone"
good "the example for another processor gets its OFFER"
echo "summary: cross: $checks checks passed"
