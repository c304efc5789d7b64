#!/bin/bash
# Makes the Debian packages in build/package: tools/package.sh [--check [--system FOLDER]]
#
#   orvo-video_*.deb             the application, orvo, and what records a browser's tab
#   orvo-server_*.deb            the publishing server
#   orvo-video-model-base_*.deb  the speech model, where build/models has it
#
# They need the libraries of the system that makes them, or newer ones: on a Debian 13, or in one in a folder, for Debian 13.
#
# With --check they are also installed into a bare Debian, used there and removed (tools/package-check.sh, as root). --system
# names a folder with such a system, which stays as it is; without it debootstrap makes one.
set -euo pipefail
called=$PWD
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/building.sh

check='' system=''
while (($#)); do
  case $1 in
    --check) check=yes; shift ;;
    --system) [[ -d ${2:-} ]] || { echo '--system needs the folder of a bare Debian' >&2; exit 2; }
      system=$(cd "$called" && realpath -- "$2"); shift 2 ;;
    *) sed -n '2,/^set/s/^# \?//p' "$0" >&2; exit 2 ;;
  esac
done

step() { printf '\n== %s\n' "$*"; "$@"; }

# Who answers for the package: DEBFULLNAME and DEBEMAIL as for every Debian tool, else who made the last commit.
maintainer="${DEBFULLNAME:-$(git log -1 --format=%an)} <${DEBEMAIL:-$(git log -1 --format=%ae)}>"
# Later commits give higher versions.
version=$(sed -n 's/^project(OrvoVideo VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)+$(TZ=UTC git log -1 --date=format-local:%Y%m%d%H%M%S --format=%cd)

tools/setup.sh build run package
build package
out=$PWD/build/package
rm -f "$out"/*.deb "$out"/*.changes "$out"/*.buildinfo

export ORVO_BUILD=$out ORVO_MODEL='' DH_OPTIONS=
if tools/model.sh build/models; then
  ORVO_MODEL=$PWD/build/models/ggml-base-q5_1.bin
else
  echo 'Without the speech model: it is downloaded at the first transcription.' >&2
  DH_OPTIONS=-Norvo-video-model-base
fi

# The packaging in a folder of its own: what it writes is not for the tree.
work=$out/debian-build
rm -rf "$work"
mkdir -p "$work"
cp -r packaging/debian "$work/debian"
sed -i "s/@MAINTAINER@/$maintainer/" "$work/debian/control"
cat >"$work/debian/changelog" <<END
orvo-video ($version) unstable; urgency=medium

  * $(git log -1 --format=%s)

 -- $maintainer  $(git log -1 --format=%cD)
END
# Two spaces stand before the date, and a day has two digits.
(cd "$work" && shows_only_failures "$out/package.log" dpkg-buildpackage --build=binary --no-sign --no-check-builddeps)

step desktop-file-validate packaging/desktop/es.orvo.video.desktop
step appstreamcli validate --pedantic --no-net packaging/desktop/es.orvo.video.metainfo.xml
step lintian --fail-on error "$out"/*.deb
if command -v systemd-analyze >/dev/null; then
  # The programs that it names are those of the package.
  unit=$work/verified/orvo-server.service
  mkdir -p "${unit%/*}"
  sed "s|=orvo-server |=$out/bin/orvo-server |" packaging/orvo-server.service >"$unit"
  step systemd-analyze verify --man=no "$unit"
  step systemd-analyze security --offline=true --threshold=20 --no-pager "$unit" | tail -n 1
fi

printf '\n'
(cd "$out" && ls -l --block-size=K -- *.deb)
[[ ! $check ]] || exec tools/package-check.sh "$out" "$system"
