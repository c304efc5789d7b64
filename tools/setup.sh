#!/bin/bash
# Installs what the named groups of tools/packages.txt need and is missing: tools/setup.sh GROUP...
#
# Debian 13 and later have everything. Debian 12 gets the same packages from Debian 13: the machine's own
# source entry is copied with the suite changed and pinned so low that nothing else is ever taken from it.
# Quick when there is nothing to do; asks before it adds anything to a person's Debian 12.
set -euo pipefail
cd "$(dirname "$0")/.."

sources=/etc/apt/sources.list.d/orvo-video-trixie.sources
pin=/etc/apt/preferences.d/orvo-video-trixie

say() { printf '%s\n' "$*" >&2; }
fail() { say "setup: $*"; exit 1; }

# The packages of the given groups that are not installed, or older than what will do.
missing() {
  awk -v groups=" $* " '!/^#/ && NF && index(groups, " " $1 " ") { print $2, $3 }' tools/packages.txt | sort -u |
    while read -r package lowest; do
      have=$(dpkg-query -W -f '${db:Status-Status} ${Version}' "$package" 2>/dev/null) || have=
      if [[ $have != "installed "* ]] || { [[ -n $lowest ]] && dpkg --compare-versions "${have#installed }" lt "$lowest"; }; then
        echo "$package"
      fi
    done
}

# Prints a deb822 entry for trixie with the addresses this machine uses for its own suite.
trixie_entry() {
  local found
  found=$(
    for file in /etc/apt/sources.list.d/*.sources; do
      [[ -e $file && $file != "$sources" ]] || continue
      awk -v suite="$1" -v RS= '
        { uris = signed = ""; mine = 0; off = 0
          n = split($0, line, "\n")
          for (i = 1; i <= n; i++) {
            if (line[i] ~ /^Suites:/) { m = split(line[i], word, /[ \t]+/); for (j = 2; j <= m; j++) if (word[j] == suite) mine = 1 }
            if (line[i] ~ /^URIs:/) uris = line[i]
            if (line[i] ~ /^Signed-By: *[^ ]/) signed = line[i]
            if (line[i] ~ /^Enabled: *no/) off = 1
          }
          if (mine && !off && uris != "") { print uris; if (signed != "") print signed; exit } }' "$file"
    done
  )
  if [[ -z $found ]]; then
    found=$(cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null | awk -v suite="$1" '
      $1 == "deb" { signed = ""; i = 2
        if ($2 ~ /^\[/) {
          while (1) { if (match($i, /signed-by=[^] ]+/)) signed = substr($i, RSTART + 10, RLENGTH - 10); if ($i ~ /\]$/) break; i++ }
          i++
        }
        if ($(i + 1) == suite) { print "URIs: " $i; if (signed != "") print "Signed-By: " signed; exit } }')
  fi
  [[ -n $found ]] || return 1
  printf 'Types: deb\nSuites: trixie\nComponents: main\n%s\n' "$(head -n 2 <<<"$found")"
}

mapfile -t packages < <(missing "$@")
((${#packages[@]})) || exit 0

command -v apt-get >/dev/null || fail "this is not a Debian system. Install the equivalents of: ${packages[*]}"
. /etc/os-release
root=()
if ((EUID != 0)); then
  command -v sudo >/dev/null || fail "run it as root, or install sudo. Missing: ${packages[*]}"
  root=(sudo)
fi

release=()
# What was installed may have brought Debian 13's own /etc/os-release along: the added source entry tells as well.
if [[ ${VERSION_CODENAME:-} == bookworm || -e $sources ]]; then
  release=(-t trixie)
  if [[ ! -e $sources ]]; then
    entry=$(trixie_entry bookworm) || fail "no Debian source entry found for $VERSION_CODENAME"
    if [[ -t 0 && -t 1 && -z ${CI:-} ]]; then
      say "This is Debian 12. Some packages are needed in the versions of Debian 13. The following would be added:"
      say "  $sources (your Debian source with the suite \"trixie\")"
      say "  $pin (pinned at priority 100: nothing else is taken from it)"
      say "  packages: ${packages[*]}, with what they depend on"
      read -r -p "Go on? [y/N] " answer
      [[ $answer == [yYsS]* ]] || fail "nothing was changed"
    fi
    "${root[@]}" tee "$sources" >/dev/null <<<"$entry"
    "${root[@]}" tee "$pin" >/dev/null <<<$'Package: *\nPin: release n=trixie\nPin-Priority: 100'
  fi
fi

say "setup: installing ${packages[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! {
  "${root[@]}" apt-get update -q
  "${root[@]}" env DEBIAN_FRONTEND=noninteractive NEEDRESTART_SUSPEND=1 apt-get install -q -y --no-install-recommends \
    -o Dpkg::Options::=--force-confold -o DPkg::Lock::Timeout=120 "${release[@]}" "${packages[@]}"
} </dev/null >"$log" 2>&1; then
  tail -n 30 "$log" >&2
  fail "the packages could not be installed"
fi
