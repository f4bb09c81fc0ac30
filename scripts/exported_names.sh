#!/bin/sh
# Compares the committed list of exported names with what the sources declare DHCP_API, and with what the library shows,
# which is never more than the list: exported_names.sh LIBRARY [--write]
# LIBRARY is in its build directory; --write makes the list anew from the sources' side.
set -eu
list=$(dirname "$0")/../cmake/exported_names.txt
objects=$(dirname "$1")/../cmake/module/CMakeFiles/dhcpmodule_objects.dir
declared() {
  find "$objects" -name '*.o' -exec readelf -sW {} + |
    awk '$5 == "GLOBAL" && $6 == "DEFAULT" && $7 != "UND" { print $8 }' | LC_ALL=C sort
}
shown() { nm -D --defined-only "$1" | awk '$2 != "A" { print $3 }' | LC_ALL=C sort; }
if [ "${2:-}" = --write ]; then
  declared > "$list"
else
  declared | diff -u "$list" -
  shown "$1" | diff -u "$list" - && echo "exported names: $(wc -l < "$list") as listed"
fi
