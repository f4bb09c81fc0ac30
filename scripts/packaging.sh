#!/usr/bin/env bash
# What an engineer does who never met us: installs a build, builds the C example beside it in both ways, runs it.
# scripts/packaging.sh BUILD; everything happens in a temporary directory.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
build=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
checks=0
# good WHAT: says what has just held.
good() {
  checks=$((checks + 1))
  echo "ok: $1"
}
failed() {
  echo "FAILED: $1" >&2
  exit 1
}

expected='OFFER in VLAN 10, transaction 12345678
  address 192.168.10.10
  lease   3600 s
  server  192.168.10.1
  router  192.168.10.1'

# offers PROGRAM [LIBRARIES]: it is served by the module. The module itself says that its task has ended.
offers() {
  local said
  said=$(LD_LIBRARY_PATH=${2:-} timeout 30 "$1") || failed "$1 ended with status $?"
  [ "$(grep -v ^routine_cleanup_dhcp <<< "$said")" = "$expected" ] || failed "$1 said: $said"
}

# build_example PREFIX CONFIG_PATH: copies what is installed, and builds it by pkg-config and by find_package.
build_example() {
  local source libraries
  source=$(find "$1" -path '*/doc/*/examples/minimal')
  libraries=$(dirname "$(find "$1" -name libdhcpmodule.so)")
  cp -r "$source" "$work/by-pkg-config"
  make -s -C "$work/by-pkg-config" PKG_CONFIG_PATH="$libraries/pkgconfig" > /dev/null
  offers "$work/by-pkg-config/minimal" "$libraries"
  good "the example by pkg-config gets its OFFER"
  cmake -S "$source" -B "$work/by-cmake" -DCMAKE_PREFIX_PATH="$1" > /dev/null
  cmake --build "$work/by-cmake" > /dev/null
  offers "$work/by-cmake/minimal"
  good "the example by find_package gets its OFFER"
}

# Every installed header by itself, in C11 and in C++.
headers_stand_alone() {
  local include=$1 header
  while read -r header; do
    printf '#include "%s"\nextern int more;\n' "$header" > "$work/header.c"
    cc -std=c11 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I"$include" "$work/header.c" || failed "$header in C"
    c++ -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I"$include" -x c++ "$work/header.c" || failed "$header in C++"
  done < <(cd "$include" && find dhcp platform -name '*.h')
  good "each of $(find "$include" -name '*.h' | wc -l) headers stands alone in C11 and in C++"
}

install_by_component() {
  local component prefix=$work/prefix
  for component in library development softswitch; do
    cmake --install "$build" --prefix "$prefix" --component $component > /dev/null
  done
  cmake --install "$build" --prefix "$work/whole" > /dev/null
  diff <(cd "$prefix" && find . | sort) <(cd "$work/whole" && find . | sort) || failed "a file is of no component"
  good "three components are the whole"
  local library
  library=$(find "$prefix" -name 'libdhcpmodule.so.1')
  [ -n "$library" ] || failed "no libdhcpmodule.so.1"
  readelf -d "$library" | grep -q 'SONAME.*\[libdhcpmodule.so.1\]' || failed "the soname of $library"
  "$prefix/bin/softswitch" --version | grep -q '^softswitch [0-9.]*$' || failed "softswitch --version"
  good "the installed soft switch finds its library"
  headers_stand_alone "$prefix/include/dhcpmodule"
  build_example "$prefix"
}

install_by_component
echo "summary: packaging: $checks checks passed"
