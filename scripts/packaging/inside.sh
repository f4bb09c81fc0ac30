#!/usr/bin/env bash
# In the throw-away root: installs the packages of /tmp, uses them, purges them.
set -euo pipefail
work=/tmp/work
mkdir $work
cd /tmp
. /tmp/packaging/common.sh
export DEBIAN_FRONTEND=noninteractive PATH=/usr/sbin:/usr/bin:/sbin:/bin
unit=/usr/lib/systemd/system/softswitch.service
socket=/run/softswitch/socket

# value NAME: of a line of the unit.
value() { sed -n "s/^$1=//p" $unit; }

# The service's command as the unit has it started: its user, its capabilities, its network namespace, no way to write
# but its own directories.
begin_switch() {
  local capabilities
  capabilities=$(value CapabilityBoundingSet | tr 'A-Z ' 'a-z,' | sed 's/cap_/+/g')
  [ "$(value AmbientCapabilities)" = "$(value CapabilityBoundingSet)" ] || failed "the unit's capabilities"
  install -d -o softswitch -g softswitch -m 0750 /run/softswitch /var/lib/softswitch
  ip netns exec softswitch setpriv --reuid softswitch --regid softswitch --clear-groups --no-new-privs \
    --bounding-set "-all,$capabilities" --inh-caps "-all,$capabilities" --ambient-caps "-all,$capabilities" \
    $(value ExecStart) > $work/switch.log 2>&1 &
  switch=$!
  for _ in $(seq 100); do
    [ ! -S $socket ] || return 0
    kill -0 $switch 2> /dev/null || break
    sleep 0.1
  done
  failed "the switch does not start: $(cat $work/switch.log)"
}

# Its configuration names a port; it comes into the namespace, the switch serves on it, saves, ends, and it is back.
service_runs() {
  cat >> /etc/softswitch/softswitch.conf << 'END'
vlan 10
interface gigabitethernet 1
 device p1
 switchport access vlan 10
interface vlan 10
 ip address 192.168.10.1 255.255.255.0
ip dhcp pool 1
 network 192.168.10.0 255.255.255.0 192.168.10.10 192.168.10.99
 exit
ip dhcp-server
END
  ip link add h1 type veth peer name p1
  $(sed -n 's/^ExecStart=//p' /usr/lib/systemd/system/softswitch-network.service)
  ip -n softswitch link show dev p1 > /dev/null || failed "the port has not moved"
  begin_switch
  ip netns exec softswitch ss -lun | grep -q ':67 ' || failed "nobody holds UDP port 67"
  [ "$(ip netns exec softswitch cat /proc/sys/net/ipv4/conf/eth0.10/arp_ignore)" = 1 ] || failed "arp_ignore is not set"
  switchctl --socket $socket -c 'write memory' > /dev/null
  grep -q '^ device p1' /etc/softswitch/softswitch.conf || failed "the configuration is not saved"
  kill -TERM $switch
  wait $switch || failed "the switch ended with status $?: $(cat $work/switch.log)"
  $(sed -n 's/^ExecStop=//p' /usr/lib/systemd/system/softswitch-network.service)
  good "the service's command runs as its user with $(value CapabilityBoundingSet)"
}

units_are_sound() {
  command -v systemd-analyze > /dev/null || return 0
  systemd-analyze verify $unit > $work/units.log 2>&1 || failed "$(cat $work/units.log)"
  ! grep softswitch $work/units.log || failed "$unit"
  good "units: $(systemd-analyze security --offline=true --threshold=25 $unit 2> /dev/null | sed -n 's/^→ //p')"
}

dpkg -i ./*.deb > $work/install.log 2>&1 || failed "$(cat $work/install.log)"
softswitch --version > /dev/null
switchctl --help | grep -q '^usage: switchctl'
[ "$(readlink -f "$(ldd /usr/bin/softswitch | awk '/libdhcpmodule/ { print $3 }')")" = \
  "$(dpkg -L libdhcpmodule1 | grep 'so\.1\.')" ] || failed "the soft switch loads another library"
good "the packages install, and the soft switch takes their library"
example_by_pkg_config /tmp/minimal
example_by_cmake /tmp/minimal
units_are_sound
service_runs
dpkg --purge dhcp-softswitch libdhcpmodule-dev libdhcpmodule1 > $work/purge.log 2>&1 || failed "$(cat $work/purge.log)"
good "the packages are purged"
