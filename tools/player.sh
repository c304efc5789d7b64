#!/bin/bash
# Puts the player of web pages at FOLDER/hls.min.js, for the tests that play what is published: tools/player.sh FOLDER
#
# Does nothing when it is there already. Otherwise the package hls.js is taken from where this machine's npm takes packages;
# its checksum stands in tools/player/package-lock.json. It may be stopped at any point and run again.
set -euo pipefail
(($# == 1)) || { echo 'Uso: tools/player.sh CARPETA' >&2; exit 2; }
folder=$(realpath -m -- "$1")
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/building.sh

# Made of another version, it is made again.
this=$(sha256sum <tools/player/package-lock.json)
present() { [[ -e $folder/hls.min.js && -e $folder/made-of && $(<"$folder/made-of") == "$this" ]]; }
if present; then exit 0; fi

# Of several that were started at once, the others wait for the first.
mkdir -p "$folder"
exec 9>"$folder/lock"
flock 9
if present; then exit 0; fi

command -v npm >/dev/null || tools/setup.sh player
echo 'Descargando el reproductor web de las pruebas' >&2
work=$folder/package
trap 'rm -rf "$work"' EXIT
rm -rf "$work"
mkdir "$work"
cp tools/player/package.json tools/player/package-lock.json "$work"
shows_only_failures "$folder/download.log" npm --prefix "$work" ci --ignore-scripts --no-audit --no-fund ||
  { echo 'No se ha podido descargar el reproductor; vuelve a intentarlo cuando haya conexión.' >&2; exit 1; }
mv "$work/node_modules/hls.js/dist/hls.min.js" "$folder/hls.min.js"
printf '%s\n' "$this" >"$folder/made-of"
