#!/bin/bash
# Builds the speech library whisper.cpp in build/whisper, unless the system has one: tools/speech.sh
#
# Debian 13 has no package of it. Its sources come with a crate whose checksum is in tools/speech/Cargo.lock; they are
# built once for all presets, for this processor. Fast if there is nothing to do.
#
# ORVO_SPEECH_OPTIONS adds CMake options, to run tests with another processor's instructions:
#   ORVO_SPEECH_OPTIONS='-DGGML_NATIVE=OFF' ./test                                      without AVX-512
#   ORVO_SPEECH_OPTIONS='-DGGML_NATIVE=OFF -DGGML_AVX2=OFF -DGGML_FMA=OFF' ./test       and without AVX2 and FMA
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/building.sh

if pkg-config --exists 'whisper >= 1.8' 2>/dev/null; then exit 0; fi

options=(-DCMAKE_BUILD_TYPE=Release -DCMAKE_POSITION_INDEPENDENT_CODE=ON -DBUILD_SHARED_LIBS=OFF -DGGML_NATIVE=ON
  -DGGML_CCACHE=OFF -DWHISPER_BUILD_TESTS=OFF -DWHISPER_BUILD_EXAMPLES=OFF -DWHISPER_BUILD_SERVER=OFF
  -DCMAKE_C_COMPILER=gcc-14 -DCMAKE_CXX_COMPILER=g++-14)
read -ra more <<<"${ORVO_SPEECH_OPTIONS:-}"
options+=("${more[@]}")
made=build/whisper/made-of
# A build for another processor may not run here.
this=$(sha256sum tools/speech/Cargo.lock; printf '%s\n' "${options[@]}"; grep -m 1 '^flags' /proc/cpuinfo || true)
if [[ -e $made && $(<"$made") == "$this" ]]; then exit 0; fi

tools/setup.sh build
# An older cargo would fetch the whole index first.
cargo --version 2>/dev/null | awk '{ split($2, v, "."); exit !(v[1] > 1 || v[2] >= 70) }' || tools/setup.sh speech
echo 'Construyendo la biblioteca de reconocimiento de voz (una vez, un par de minutos)' >&2
rm -rf build/whisper build/whisper-source
shows_only_failures build/whisper-source.log cargo vendor --locked --manifest-path tools/speech/Cargo.toml build/whisper-source
source=$(echo build/whisper-source/whisper-rs-sys*/whisper.cpp)
shows_only_failures build/whisper-source.log cmake -S "$source" -B build/whisper-source/build -G Ninja \
  -DCMAKE_INSTALL_PREFIX="$PWD/build/whisper" "${options[@]}"
shows_only_failures build/whisper-source.log cmake --build build/whisper-source/build --parallel "$jobs"
shows_only_failures build/whisper-source.log cmake --install build/whisper-source/build
rm -rf build/whisper-source
printf '%s\n' "$this" >"$made"
