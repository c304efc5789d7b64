#!/bin/bash
# Installs the missing packages of the named groups of tools/packages.txt: tools/setup.sh GROUP...
#
# Debian 13 and later have all packages. Debian 12 gets them from Debian 13: the script copies the machine's own source
# entry with the suite changed, and pins it so low that nothing else is installed from it. Fast if there is nothing to do.
# On a user's Debian 12 it explains the changes and asks first. May be interrupted and run again. Its messages are for
# users of the application, in Spanish.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
export LC_ALL=C.UTF-8

sources=/etc/apt/sources.list.d/orvo-video-trixie.sources
pin=/etc/apt/preferences.d/orvo-video-trixie

say() { printf '%s\n' "$*" >&2; }
fail() { say "Instalación: $*"; exit 1; }

# Whether a user can answer.
person() { [[ -t 0 && -t 2 && -z ${CI:-} ]]; }
agreed() {
  local answer
  read -r -p "$1 [s/N] " answer && [[ $answer == [sSyY]* ]]
}

# The packages of the given groups that are missing or too old.
missing() {
  local architecture package lowest have
  local -A installed=()
  architecture=$(dpkg --print-architecture)
  mapfile -t wanted < <(awk -v groups=" $* " '!/^#/ && NF && index(groups, " " $1 " ") { print $2, $3 }' tools/packages.txt | sort -u)
  # dpkg-query fails when it does not know a package, but still reports the others.
  while read -r package have; do
    installed[$package]=$have
  done < <(dpkg-query -W -f '${Package} ${Version} ${db:Status-Status} ${Architecture}\n' "${wanted[@]%% *}" 2>/dev/null |
    awk -v own="$architecture" '$3 == "installed" && ($4 == own || $4 == "all") { print $1, $2 }' || true)
  for package in "${wanted[@]}"; do
    read -r package lowest <<<"$package"
    have=${installed[$package]:-}
    if [[ -z $have ]] || { [[ -n $lowest ]] && dpkg --compare-versions "$have" lt "$lowest"; }; then
      echo "$package"
    fi
  done
}

# Prints the machine's first source entry for one of the given suites, as a deb822 entry for trixie. Fails if there is
# none.
trixie_entry() {
  local file entry=
  for file in /etc/apt/sources.list.d/*.sources; do
    [[ -z $entry && -e $file && $file != "$sources" ]] || continue
    entry=$(awk -v suites=" $* " -v RS= '
      {
        n = split($0, line, "\n"); fields = ""; field = ""; archive = mine = off = addressed = 0
        for (i = 1; i <= n; i++) {
          if (line[i] ~ /^#/) continue
          if (line[i] ~ /^[^ \t]/) { field = tolower(line[i]); sub(/[ \t]*:.*/, "", field) }
          m = split(line[i], word, /[ \t]+/)
          for (j = 1; j <= m; j++) {
            if (field == "types" && word[j] == "deb") archive = 1
            if (field == "suites" && word[j] != "" && index(suites, " " word[j] " ")) mine = 1
            if (field == "uris" && word[j] ~ /^[a-z+]+:.*\//) addressed = 1
            if (field == "enabled" && tolower(word[j]) ~ /^(no|false|off|0)$/) off = 1
          }
          if (field ~ /^(uris|signed-by|trusted)$/) fields = fields line[i] "\n"
        }
        if (archive && mine && addressed && !off) { printf "%s", fields; exit }
      }' "$file")
  done
  if [[ -z $entry ]]; then
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
      [[ -z $entry && -e $file ]] || continue
      entry=$(awk -v suites=" $* " '
        $1 == "deb" {
          options = ""
          if (match($0, /\[[^]]*\]/) && $2 ~ /^\[/) {
            options = substr($0, RSTART + 1, RLENGTH - 2)
            $0 = "deb " substr($0, RSTART + RLENGTH)
          }
          if (!index(suites, " " $3 " ") || $2 ~ /^cdrom:/) next
          print "URIs: " $2
          n = split(options, option, /[ \t]+/)
          for (i = 1; i <= n; i++) {
            if (sub(/^signed-by=/, "", option[i])) { gsub(/,/, " ", option[i]); print "Signed-By: " option[i] }
            if (sub(/^trusted=/, "", option[i])) print "Trusted: " option[i]
          }
          exit
        }' "$file")
    done
  fi
  [[ -n $entry ]] || return 1
  printf '%s\nTypes: deb\nSuites: trixie\nComponents: main\n%s\n' \
    "# Debian 13 for what Orvo Video needs; $pin keeps everything else from it." "$entry"
}

# Runs a command and keeps its output for an error report.
quietly() { "$@" </dev/null >>"$log" 2>&1; }

give_up() {
  tail -n 30 "$log" >&2
  fail "$*"
}

# Another program, such as the daily update, may lock the package lists for a while.
update_lists() {
  local tries=24
  while ((tries--)); do
    : >"$log"
    if quietly "${root[@]}" apt-get update -q; then
      return 0
    fi
    grep -q 'Could not get lock' "$log" || return 1
    sleep 5
  done
  return 1
}

for group; do
  grep -q "^$group " tools/packages.txt || fail "no existe el grupo «$group» en tools/packages.txt"
done

if ! command -v apt-get dpkg-query >/dev/null; then
  say "Esto no es un Debian y aquí no se instala nada: tools/packages.txt dice qué hace falta ($*)."
  exit 0
fi

mapfile -t packages < <(missing "$@")
((${#packages[@]})) || exit 0

root=()
if ((EUID != 0)); then
  again="faltan ${packages[*]}. Como administrador: tools/setup.sh $*"
  command -v sudo >/dev/null || fail "no está instalado sudo y $again"
  root=(sudo)
  if ! person; then
    sudo -n true 2>/dev/null || fail "sudo pide una contraseña y no hay quien la escriba; $again"
    root=(sudo -n)
  fi
fi

VERSION_CODENAME=
# shellcheck disable=SC1091
[[ ! -e /etc/os-release ]] || . /etc/os-release

# Debian 13 packages may have brought their /etc/os-release to a Debian 12, so checks its sources too.
twelve=
if [[ ${VERSION_CODENAME:-} == bookworm ]] || { [[ -e $sources ]] && trixie_entry bookworm oldstable >/dev/null; }; then
  twelve=yes
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT

release=()
if [[ $twelve ]]; then
  release=(-t trixie)
  if [[ ! -e $sources || ! -e $pin ]]; then
    entry=$(trixie_entry bookworm oldstable stable) || fail "no se encuentra ninguna fuente de paquetes de Debian 12 en /etc/apt"
    if person; then
      say "Esto es un Debian 12. Hacen falta algunos paquetes en su versión de Debian 13. Se añadirían:"
      say "  $sources (tu fuente de Debian, para la versión «trixie»)"
      say "  $pin (prioridad 100: de ella no se toma nada más)"
      say "  los paquetes ${packages[*]}, con lo que necesitan"
      agreed "¿Continuar?" || fail "no se ha cambiado nada"
    fi
    # The pin first: without it, the entry would offer all of Debian 13 to the next upgrade.
    "${root[@]}" mkdir -p "${pin%/*}" "${sources%/*}"
    "${root[@]}" tee "$pin" >/dev/null <<<$'# For Orvo Video, with orvo-video-trixie.sources.\nPackage: *\nPin: release n=trixie\nPin-Priority: 100'
    "${root[@]}" tee "$sources.new" >/dev/null <<<"$entry"
    "${root[@]}" chmod 644 "$pin" "$sources.new"
    "${root[@]}" mv "$sources.new" "$sources"
  fi
elif [[ -e $sources || -e $pin ]]; then
  # The machine is a Debian 13 by now, where the pin would hold back its own packages.
  "${root[@]}" rm -f "$sources" "$pin"
fi

say "Instalando ${packages[*]} (la primera vez, unos minutos)"

# Unrelated sources may be broken; only the installation decides.
update_lists || say "No se han podido actualizar todas las listas de paquetes; sigo con las que hay."

# Finishes an interrupted installation, which only root can fully see.
unattended=(env DEBIAN_FRONTEND=noninteractive APT_LISTCHANGES_FRONTEND=none NEEDRESTART_SUSPEND=1)
quietly "${root[@]}" "${unattended[@]}" dpkg --force-confold --configure -a || true
if [[ -n $("${root[@]}" dpkg --audit) ]]; then
  quietly "${root[@]}" "${unattended[@]}" apt-get install -q -y -f -o DPkg::Lock::Timeout=120 || true
fi

install=(apt-get install -q -y --no-install-recommends -o Dpkg::Options::=--force-confold -o DPkg::Lock::Timeout=120
  "${release[@]}" "${packages[@]}")
if [[ $twelve ]] && leaving=$(apt-get -s "${install[@]:1}" 2>/dev/null | awk '$1 == "Remv" { print $2 }') && [[ -n $leaving ]]; then
  say "En este Debian 12 dejan su sitio a otros: ${leaving//$'\n'/ }"
  if person && ! agreed "¿Continuar?"; then
    fail "no se ha instalado nada (quedan $sources y $pin, que pueden borrarse)"
  fi
fi
quietly "${root[@]}" "${unattended[@]}" "${install[@]}" ||
  give_up "no se han podido instalar los paquetes"

mapfile -t packages < <(missing "$@")
((${#packages[@]} == 0)) || fail "este sistema solo ofrece versiones demasiado antiguas de: ${packages[*]} (véase tools/packages.txt)"
