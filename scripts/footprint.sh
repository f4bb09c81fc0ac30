#!/usr/bin/env bash
# How much room the module takes: the library's sections and file for a PC and for the devices' processor, stripped as it
# would be installed, and the soft switch's resident memory. scripts/footprint.sh prints both as tables.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
install_packages check
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# row NAME BUILD TOOLS: of the library of a build, by the binary tools of that prefix.
row() {
  cmake --install "$2" --prefix "$work/$1" --component library --strip > /dev/null
  local library
  library=$(find "$work/$1" -type f -name 'libdhcpmodule.so.*')
  "${3}size" "$library" | awk -v name="$1" -v file="$(stat -c %s "$library")" \
    'NR == 2 { printf "| %s | %d | %d | %d | %d |\n", name, $1, $2, $3, file }'
}

for preset in release mips-release; do
  cmake --preset $preset > /dev/null
  cmake --build --preset $preset > "$work/$preset.log" || { tail -n 40 "$work/$preset.log"; exit 1; }
done
echo "| library, bytes | text | data | bss | file |"
echo "|---|---|---|---|---|"
row x86-64 build/release ''
row mips build/mips-release mips-linux-gnu-
echo
bench/memory
