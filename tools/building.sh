# shellcheck shell=bash
# What ./run, ./test and ./dev share; read with "source" from the top of the tree.

# Numbers, sorting and character widths are the same everywhere, also where no locale is set up.
export LC_ALL=C.UTF-8

# As many compilers at once as there are processors, each with 1.5 GB of memory.
jobs=$(awk -v processors="$(nproc)" '/^MemAvailable:/ { fits = int($2 / 1500000) } END { print fits < 1 ? 1 : fits < processors ? fits : processors }' /proc/meminfo)

# shows_only_failures LOG COMMAND... keeps what the command prints in the file LOG, and shows its end when it fails.
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
  # A tree that was moved or copied takes its build folder along, which CMake refuses to use in another place.
  if [[ -e $folder/CMakeCache.txt ]] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" "$folder/CMakeCache.txt"; then
    rm -rf "$folder"
  fi
  shows_only_failures "$folder/configure.log" cmake --preset "$1"
}

# build PRESET [TARGET...] builds everything, or the targets.
build() {
  configure "$1"
  cmake --build --preset "$1" --parallel "$jobs" ${2:+--target "${@:2}"}
}
