# shellcheck shell=bash
# Shared by ./run, ./test and ./dev; sourced from the top of the tree.

# The same numbers, sorting and character widths everywhere, even without a configured locale.
export LC_ALL=C.UTF-8

# One compiler per processor, as long as there are 1.5 GB of memory for each.
jobs=$(awk -v processors="$(nproc)" '/^MemAvailable:/ { fits = int($2 / 1500000) } END { print fits < 1 ? 1 : fits < processors ? fits : processors }' /proc/meminfo)

# shows_only_failures LOG COMMAND... writes the command's output to LOG, and prints the end of it on failure.
shows_only_failures() {
  local log=$1
  mkdir -p "${log%/*}"
  "${@:2}" </dev/null >"$log" 2>&1 || {
    tail -n 40 "$log" >&2
    return 1
  }
}

# configure PRESET
configure() {
  local folder=build/$1
  if [[ $1 == package ]]; then tools/speech.sh portable; else tools/speech.sh; fi
  # CMake refuses to use a build folder of a tree that was moved or copied.
  if [[ -e $folder/CMakeCache.txt ]] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" "$folder/CMakeCache.txt"; then
    rm -rf "$folder"
  fi
  shows_only_failures "$folder/configure.log" cmake --preset "$1"
}

# build PRESET [TARGET...] builds everything, or the given targets.
build() {
  configure "$1"
  cmake --build --preset "$1" --parallel "$jobs" ${2:+--target "${@:2}"}
}
