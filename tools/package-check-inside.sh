#!/bin/bash
# The part of tools/package-check.sh that runs inside the bare system. /debs has the packages, /road the scripts.
# shellcheck disable=SC2016 # The shell that persona starts expands them.
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8

said() { printf '\n== %s\n' "$*"; }
fail() { printf 'FAILED: %s\n' "$*" >&2; exit 1; }
# Runs apt-get quietly. On failure, prints the end of its log.
apt() { apt-get -q -y "$@" >/tmp/apt.log 2>&1 || { tail -n 30 /tmp/apt.log >&2; fail "apt-get $*"; }; }
# persona COMMAND: runs it as an ordinary user.
persona() { runuser -u persona -- env -i HOME=/home/persona USER=persona PATH=/usr/bin:/bin LANG=C.UTF-8 LC_ALL=C.UTF-8 "$@"; }
# soon COMMAND: repeats it until it succeeds, for about a minute.
soon() { local tries=300; until "$@" >/dev/null 2>&1; do ((tries--)) || return 1; sleep 0.2; done; }

printf '#!/bin/sh\nexit 101\n' >/usr/sbin/policy-rc.d # Keeps packages from starting services.
chmod +x /usr/sbin/policy-rc.d
useradd -m -s /bin/bash persona
install -d -o persona /home/persona/visto

said 'Installing an older package and starting a library with it'
apt update
apt install --no-install-recommends /debs/old/orvo-video_*.deb
dpkg -s orvo-video | grep -qx 'Version: 0.0.1'
persona orvo --version
persona orvo-video --version
persona orvo-video --help | head -n 1
if persona orvo-video --unbekannt; then fail 'an unknown option was accepted'; fi
persona ffmpeg -v error -f lavfi -i testsrc2=size=640x360:rate=30:duration=4 -f lavfi -i sine=duration=4 -pix_fmt yuv420p /home/persona/película.mp4
persona orvo import /home/persona/película.mp4

said 'Upgrading to the packages'
apt install --no-install-recommends /debs/*.deb
dpkg -s orvo-video | grep '^Version'
persona orvo list
persona orvo validate
[[ $(persona orvo list --json | grep -c '"id"') == 1 ]] || fail 'the library has changed'

said 'Installing a desktop: a display, a bus, a launcher for desktop entries'
apt install --no-install-recommends xvfb xauth dbus-daemon libglib2.0-bin xdotool x11-utils openbox espeak-ng pipewire pipewire-pulse \
  wireplumber pulseaudio-utils procps man-db curl bash-completion qt6-xdgdesktopportal-platformtheme xdg-desktop-portal-gtk
cat >/road/desktop <<'END'
# shellcheck disable=SC2016 # The shell that persona starts expands them.
set -euo pipefail
soon() { local tries=300; until "$@" >/dev/null 2>&1; do ((tries--)) || { echo "never: $*" >&2; return 1; }; sleep 0.2; done; }
screenshot() { ffmpeg -v error -y -f x11grab -video_size 1280x800 -i "$DISPLAY" -frames:v 1 "visto/$1.png"; }
entry=/usr/share/applications/es.orvo.video.desktop
openbox &
# On a desktop, the portal runs before any application.
dbus-update-activation-environment DISPLAY XAUTHORITY
soon gdbus call --session -d org.freedesktop.portal.Desktop -o /org/freedesktop/portal/desktop \
  -m org.freedesktop.DBus.Properties.Get org.freedesktop.portal.FileChooser version
gio launch "$entry"
soon xdotool search --onlyvisible --name 'Orvo Video'
xprop -id "$(xdotool search --onlyvisible --name 'Orvo Video' | head -n 1)" WM_CLASS
gdbus call --session -d es.orvo.video -o /es/orvo/video -m org.freedesktop.Application.Activate '{}'
[[ -e .config/chromium/NativeMessagingHosts/es.orvo.video.json ]] || soon test -e .config/chromium/NativeMessagingHosts/es.orvo.video.json
helper=$(sed -n 's/.*"path": *"\([^"]*\)".*/\1/p' .config/chromium/NativeMessagingHosts/es.orvo.video.json)
echo "helper: $helper"
[[ -x $helper && $helper == /usr/lib/orvo-video/* ]]
sleep 2 # Only for the screenshot.
screenshot abierta
# Started again with a movie: the running instance imports it.
gio launch "$entry" "$HOME/película.mp4"
soon eval '[[ $(orvo list --json | grep -c "\"id\"") == 2 ]]'
orvo-video "$HOME/película.mp4"
soon eval '[[ $(orvo list --json | grep -c "\"state\": \"ready\"") == 3 ]]'
[[ $(pgrep -cx orvo-video) == 1 ]]
screenshot importada
orvo open "$(orvo list --json | sed -n 's/.*"id": *"\(........\).*/\1/p' | head -n 1)"
sleep 2
screenshot editor
xdotool search --onlyvisible --name 'Orvo Video' windowfocus --sync key ctrl+i
soon xdotool search --onlyvisible --name 'Importar vídeo'
xprop -id "$(xdotool search --onlyvisible --name 'Importar vídeo' | head -n 1)" WM_CLASS | grep portal # The desktop's panel.
screenshot panel
pkill -x orvo-video
END

said 'Starting the application from its desktop entry, twice'
persona dbus-run-session -- bash -c 'cd; exec xvfb-run -a -s "-screen 0 1280x800x24" bash /road/desktop'

said 'Running the steps of ./run --terminal'
persona bash -c 'cd; exec bash /road/terminal.sh orvo "$HOME/visto/muestra"'

said 'Checking completion and manual pages'
persona bash -c 'source /usr/share/bash-completion/completions/orvo; COMP_WORDS=(orvo exp); COMP_CWORD=1; _orvo; [[ ${COMPREPLY[*]} == export ]]'
for page in orvo orvo-video orvo-server; do persona man -w "$page"; done

said 'Running the server'
orvo-server --version
install -d -o orvo-server -g orvo-server -m 700 /var/lib/orvo-server
runuser -u orvo-server -- orvo-server init --data /var/lib/orvo-server --address http://localhost:8097 --listen 127.0.0.1:8097 >/dev/null
runuser -u orvo-server -- orvo-server run --data /var/lib/orvo-server &
soon curl -fsS http://127.0.0.1:8097/admin/
kill "$(pgrep -x orvo-server)"
wait

said 'Purging the packages'
apt purge 'orvo-*'
[[ -d /var/lib/orvo-server ]] || fail 'the published videos are gone'
rm -r /var/lib/orvo-server
left=$(find / -xdev \( -path /home -o -path /proc -o -path /debs -o -path /road -o -path /tmp -o -path /var/cache/apt -o -path /var/log \) -prune \
  -o -iname '*orvo*' -print)
[[ -z $left ]] || fail "left behind: $left"
[[ -d /home/persona/.local/share/OrvoVideo/Projects ]] || fail 'the library is gone'
said 'All checks passed'
