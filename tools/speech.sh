#!/bin/bash
# Builds the speech library whisper.cpp, unless the system has one: tools/speech.sh [portable]
#
# Debian 13 has no package of it. Its sources come with a crate whose checksum is in tools/speech/Cargo.lock. Builds them
# once for all presets, for this processor, in build/whisper. Fast if there is nothing to do.
#
# "portable" builds shared libraries for packages in build/whisper-portable: one arithmetic library per generation of
# processors. The program loads the best one that its processor supports. The lowest is plain x86-64.
#
# ORVO_SPEECH_OPTIONS adds CMake options, to run tests with another processor's instructions:
#   ORVO_SPEECH_OPTIONS='-DGGML_NATIVE=OFF' ./test                                      without AVX-512
#   ORVO_SPEECH_OPTIONS='-DGGML_NATIVE=OFF -DGGML_AVX2=OFF -DGGML_FMA=OFF' ./test       and without AVX2 and FMA
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/building.sh

if pkg-config --exists 'whisper >= 1.8' 2>/dev/null; then exit 0; fi

options=(-DCMAKE_BUILD_TYPE=Release -DCMAKE_POSITION_INDEPENDENT_CODE=ON)
if [[ ${1:-} == portable ]]; then
  folder=build/whisper-portable
  # shellcheck disable=SC2016,SC2054 # $ORIGIN and the commas are the loader's.
  options+=(-DBUILD_SHARED_LIBS=ON -DGGML_NATIVE=OFF -DGGML_BACKEND_DL=ON -DGGML_CPU_ALL_VARIANTS=ON
    -DCMAKE_INSTALL_LIBDIR=lib -DCMAKE_INSTALL_BINDIR=lib '-DCMAKE_INSTALL_RPATH=$ORIGIN'
    -DCMAKE_SHARED_LINKER_FLAGS=-Wl,-z,relro,-z,now -DCMAKE_MODULE_LINKER_FLAGS=-Wl,-z,relro,-z,now)
  more=
  processor=any
else
  folder=build/whisper
  options+=(-DBUILD_SHARED_LIBS=OFF -DGGML_NATIVE=ON)
  more=${ORVO_SPEECH_OPTIONS:-}
  processor=$(grep -m 1 '^flags' /proc/cpuinfo || true)
fi
read -ra more <<<"$more"
options+=(-DGGML_CCACHE=OFF -DWHISPER_BUILD_TESTS=OFF -DWHISPER_BUILD_EXAMPLES=OFF -DWHISPER_BUILD_SERVER=OFF
  -DCMAKE_C_COMPILER=gcc-14 -DCMAKE_CXX_COMPILER=g++-14 "${more[@]}")
made=$folder/made-of
# A build for another processor may not run here.
this=$(sha256sum tools/speech/Cargo.lock; printf '%s\n' "${options[@]}" "$processor")
if [[ -e $made && $(<"$made") == "$this" ]]; then exit 0; fi

tools/setup.sh build
# An older cargo would fetch the whole index first.
cargo --version 2>/dev/null | awk '{ split($2, v, "."); exit !(v[1] > 1 || v[2] >= 70) }' || tools/setup.sh speech
echo 'Construyendo la biblioteca de reconocimiento de voz (una vez, un par de minutos)' >&2
rm -rf "$folder" build/whisper-source
shows_only_failures build/whisper-source.log cargo vendor --locked --manifest-path tools/speech/Cargo.toml build/whisper-source
source=$(echo build/whisper-source/whisper-rs-sys*/whisper.cpp)
# Leaves out generations that gain too little for a megabyte and a minute of building each.
sed -i -E '/ggml_add_cpu_backend_variant\((ivybridge|piledriver|cannonlake|cascadelake|cooperlake|sapphirerapids) /d' \
  "$source/ggml/src/CMakeLists.txt"
shows_only_failures build/whisper-source.log cmake -S "$source" -B build/whisper-source/build -G Ninja \
  -DCMAKE_INSTALL_PREFIX="$PWD/$folder" "${options[@]}"
shows_only_failures build/whisper-source.log cmake --build build/whisper-source/build --parallel "$jobs"
shows_only_failures build/whisper-source.log cmake --install build/whisper-source/build
rm -rf build/whisper-source
printf '%s\n' "$this" >"$made"
