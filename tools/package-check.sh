#!/bin/bash
# Tests the packages of FOLDER in a bare Debian, as root: tools/package-check.sh FOLDER [SYSTEM]
#
# SYSTEM is the folder of a bare Debian (debootstrap --variant=minbase trixie SYSTEM), which the script copies; by default it
# creates one with debootstrap. In the copy it installs an older package with apt, starts a library, and upgrades to the new
# package. It starts the application from its desktop entry on a virtual display, starts it again with a movie, and opens the
# desktop's file panel. It runs the steps of ./run --terminal with the installed orvo, checks that the server answers, and
# purges everything. Screenshots and the result stay in FOLDER/check.
set -euo pipefail
(($# >= 1)) || { sed -n '2,/^set/s/^# \?//p' "$0" >&2; exit 2; }
((EUID == 0)) || { echo 'tools/package-check.sh needs root, for chroot and mounts.' >&2; exit 1; }
packages=$(realpath -- "$1") system=${2:-}
cd "$(dirname "${BASH_SOURCE[0]}")/.."

if [[ ${inside:-} != yes ]]; then
  # Own namespaces for mounts and processes, so that nothing stays mounted or running, however the script ends.
  export inside=yes
  exec unshare --mount --pid --fork --kill-child "$0" "$@"
fi

exec 9>"$packages/check.lock"
flock -n 9 || { echo 'Another check of these packages is running.' >&2; exit 1; }
root=$packages/system
rm -rf --one-file-system "$root"
trap 'umount -R -l "$root"/{proc,dev} 2>/dev/null || true; rm -rf --one-file-system "$root"' EXIT
if [[ $system ]]; then
  cp -a --reflink=auto "$system" "$root"
else
  debootstrap --variant=minbase --include=ca-certificates trixie "$root" >"$packages/debootstrap.log"
fi
mkdir -p "$root"/{proc,dev,debs/old,road}
mount -t proc proc "$root/proc"
mount --rbind /dev "$root/dev"
cp -L /etc/resolv.conf "$root/etc/resolv.conf"
cp /etc/ssl/certs/ca-certificates.crt "$root/etc/ssl/certs/" # The certificates that this machine trusts.
cp "$packages"/*.deb "$root/debs"
cp tools/terminal.sh tools/sample.sh "$root/road"

# The older package is the same one with a lower version.
older=$packages/older
rm -rf "$older"
dpkg-deb -R "$packages"/orvo-video_*.deb "$older"
sed -i 's/^Version: .*/Version: 0.0.1/' "$older/DEBIAN/control"
dpkg-deb --root-owner-group -b "$older" "$root/debs/old/orvo-video_0.0.1_amd64.deb" >/dev/null
rm -rf "$older"

cp tools/package-check-inside.sh "$root/road/check"
rm -rf "$packages/check"
mkdir "$packages/check"
status=0
chroot "$root" /usr/bin/env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 \
  "$(env | grep -i '^http_proxy=' || echo none=)" bash /road/check || status=$?
cp -r "$root/home/persona/visto/." "$packages/check/" 2>/dev/null || true
exit "$status"
