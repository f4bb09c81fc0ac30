# What the packaging checks share; sourced. Expects `work`, a temporary directory.
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

offer='OFFER in VLAN 10, transaction 12345678
  address 192.168.10.10
  lease   3600 s
  server  192.168.10.1
  router  192.168.10.1'

# offers PROGRAM [LIBRARIES]: it is served by the module, which itself says that its task has ended.
offers() {
  local said
  said=$(LD_LIBRARY_PATH=${2:-} timeout 30 "$1") || failed "$1 ended with status $?"
  [ "$(grep -v ^routine_cleanup_dhcp <<< "$said")" = "$offer" ] || failed "$1 said: $said"
}

# example_by_pkg_config SOURCE [LIBRARIES], example_by_cmake SOURCE [PREFIX]: build a copy of the example and run it.
example_by_pkg_config() {
  cp -r "$1" "$work/by-pkg-config"
  make -s -C "$work/by-pkg-config" ${2:+PKG_CONFIG_PATH="$2/pkgconfig"} > /dev/null
  offers "$work/by-pkg-config/minimal" "${2:-}"
  good "the example by pkg-config gets its OFFER"
}
example_by_cmake() {
  cmake -S "$1" -B "$work/by-cmake" ${2:+-DCMAKE_PREFIX_PATH="$2"} > /dev/null
  cmake --build "$work/by-cmake" > /dev/null
  offers "$work/by-cmake/minimal"
  good "the example by find_package gets its OFFER"
}
