#!/bin/bash
# Puts what the web pages and their tests need of others into FOLDER: tools/player.sh FOLDER
#
#   hls.light.min.js, hls.LICENSE.txt   hls.js (Apache-2.0), which the publishing server's pages are built with
#   axe.min.js                          axe-core (MPL-2.0), which the tests look for barriers with
#
# Does nothing when they are there already. Otherwise the packages are taken from where this machine's npm takes packages; their
# checksums are in tools/player/package-lock.json. It may be stopped at any point and run again.
set -euo pipefail
(($# == 1)) || { echo 'Uso: tools/player.sh CARPETA' >&2; exit 2; }
folder=$(realpath -m -- "$1")
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/building.sh

# Made of another version, it is made again.
this=$(sha256sum <tools/player/package-lock.json)
present() { [[ -e $folder/hls.light.min.js && -e $folder/axe.min.js && -e $folder/made-of && $(<"$folder/made-of") == "$this" ]]; }
if present; then exit 0; fi

# Of several that were started at once, the others wait for the first.
mkdir -p "$folder"
exec 9>"$folder/lock"
flock 9
if present; then exit 0; fi

command -v npm >/dev/null || tools/setup.sh player
echo 'Descargando el reproductor web' >&2
work=$folder/package
trap 'rm -rf "$work"' EXIT
rm -rf "$work"
mkdir "$work"
cp tools/player/package.json tools/player/package-lock.json "$work"
shows_only_failures "$folder/download.log" npm --prefix "$work" ci --ignore-scripts --no-audit --no-fund ||
  { echo 'No se ha podido descargar el reproductor; vuelve a intentarlo cuando haya conexión.' >&2; exit 1; }
mv "$work"/node_modules/hls.js/dist/hls.light.min.js "$work/node_modules/axe-core/axe.min.js" "$folder"
mv "$work/node_modules/hls.js/LICENSE" "$folder/hls.LICENSE.txt"
printf '%s\n' "$this" >"$folder/made-of"
