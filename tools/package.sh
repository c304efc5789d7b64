#!/bin/bash
# Builds the Debian packages in build/package: tools/package.sh [--check [--system FOLDER]]
#
#   orvo-video_*.deb             the application, orvo, and the helper and extension that record a browser's tab
#   orvo-server_*.deb            the publishing server
#   orvo-video-model-base_*.deb  the speech model, if build/models has it
#
# The packages need the libraries of the system that builds them, or newer ones. For Debian 13, run it on Debian 13 or in a
# chroot of it.
#
# --check also installs them into a bare Debian, tests and removes them (tools/package-check.sh, as root). --system names the
# folder of such a system, which is not changed; by default, debootstrap creates one.
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

# The maintainer: DEBFULLNAME and DEBEMAIL, as for other Debian tools, or else the author of the last commit.
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
  echo 'No speech model: the first transcription downloads it.' >&2
  DH_OPTIONS=-Norvo-video-model-base
fi

# A copy of the packaging, because the build writes into it.
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
# The format needs two spaces before the date, and a day of two digits.
(cd "$work" && shows_only_failures "$out/package.log" dpkg-buildpackage --build=binary --no-sign --no-check-builddeps)

step desktop-file-validate packaging/desktop/es.orvo.video.desktop
step appstreamcli validate --pedantic --no-net packaging/desktop/es.orvo.video.metainfo.xml
step lintian --fail-on error "$out"/*.deb
if command -v systemd-analyze >/dev/null; then
  # Verifies a copy of the unit that names the built program.
  unit=$work/verified/orvo-server.service
  mkdir -p "${unit%/*}"
  sed "s|=orvo-server |=$out/bin/orvo-server |" packaging/orvo-server.service >"$unit"
  step systemd-analyze verify --man=no "$unit"
  step systemd-analyze security --offline=true --threshold=20 --no-pager "$unit" | tail -n 1
fi

printf '\n'
(cd "$out" && ls -l --block-size=K -- *.deb)
[[ ! $check ]] || exec tools/package-check.sh "$out" "$system"
