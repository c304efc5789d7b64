#!/bin/bash
# Installs clang-tidy in FOLDER, as bin/clang-tidy with its own headers in lib: tools/clang-tidy.sh FOLDER
#
# Does nothing if it is installed. Otherwise downloads it from the Python package index with this machine's pip, because
# Debian's version also analyses all headers of Qt and Boost and takes three times as long. May be interrupted and run again.
set -euo pipefail
(($# == 1)) || { echo 'Usage: tools/clang-tidy.sh FOLDER' >&2; exit 2; }
folder=$(realpath -m -- "$1")
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/building.sh

# Reinstalls another version.
this=$(sha256sum <tools/clang-tidy/requirements.txt)
if [[ -x $folder/bin/clang-tidy && -e $folder/made-of && $(<"$folder/made-of") == "$this" ]]; then exit 0; fi

echo 'Downloading clang-tidy' >&2
work=$folder/package
trap 'rm -rf "$work"' EXIT
rm -rf "$folder"
shows_only_failures "$work/download.log" python3 -m pip download --disable-pip-version-check --no-cache-dir --no-input \
  --no-deps --only-binary :all: --require-hashes -r tools/clang-tidy/requirements.txt -d "$work"
unzip -q "$work"/*.whl 'clang_tidy/data/*' -d "$work"
mv "$work"/clang_tidy/data/{bin,lib} "$folder"
chmod +x "$folder/bin/clang-tidy"
echo "$this" >"$folder/made-of"
