#!/bin/bash
# Downloads third-party scripts of the web pages and their tests into FOLDER: tools/player.sh FOLDER
#
#   hls.light.min.js, hls.LICENSE.txt   hls.js (Apache-2.0), built into the publishing server's pages
#   axe.min.js                          axe-core (MPL-2.0), used by the tests to check accessibility
#
# Does nothing if they exist. Otherwise installs the packages with this machine's npm; tools/player/package-lock.json has
# their checksums. May be interrupted and run again.
set -euo pipefail
(($# == 1)) || { echo 'Uso: tools/player.sh CARPETA' >&2; exit 2; }
folder=$(realpath -m -- "$1")
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/building.sh

# Rebuilds files of another version.
this=$(sha256sum <tools/player/package-lock.json)
present() { [[ -e $folder/hls.light.min.js && -e $folder/axe.min.js && -e $folder/made-of && $(<"$folder/made-of") == "$this" ]]; }
if present; then exit 0; fi

# If several run at once, the others wait for the first.
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
