#!/usr/bin/env bash
# A copy of this system in which the packages of WORK/packages come and go: throw_away_root.sh WORK
# Runs in mount, network and process namespaces of its own. What is written lands in memory and ends with them.
set -euo pipefail
here=$(dirname "$0")
layers=$1/layers
mkdir "$layers"
mount --make-rprivate /
mount -t tmpfs layers "$layers"
mkdir "$layers"/{upper,work,system}
mount -t overlay overlay -o "lowerdir=/,upperdir=$layers/upper,workdir=$layers/work" "$layers/system"
mount -t proc proc "$layers/system/proc"
mount --rbind /dev "$layers/system/dev"
mount -t sysfs sysfs "$layers/system/sys"
mount -t tmpfs run "$layers/system/run"
mount -t tmpfs tmp "$layers/system/tmp"
cp -r "$here" "$1"/packages/*.deb "$here/../../examples/minimal" "$layers/system/tmp/"
chroot "$layers/system" /tmp/packaging/inside.sh

# left PATH: a file that is not the system's own, nor one of those that every package changes.
left() {
  case $1 in
    ./var/lib/dpkg/* | ./var/log/* | ./var/cache/* | ./etc/ld.so.cache | ./etc/*- | ./etc/.pwd.lock) return 1 ;;
  esac
  ! cmp -s "$1" "/$1"
}
cd "$layers/upper"
while read -r path; do
  if left "$path"; then
    echo "FAILED: left behind: $path"
    exit 1
  fi
done < <(find . ! -type d; find . -type d -exec sh -c '[ -d "/$1" ] || echo "$1"' directory {} \;)
echo "ok: nothing is left behind"
