# Sourced by on-*: a private session bus, PipeWire and runtime folder, which end with the script. Sets $folder.
set -euo pipefail

folder=$(mktemp -d)
started=()
# shellcheck disable=SC2317 # The trap calls it.
end() {
  kill "${started[@]}" 2>/dev/null || true
  wait 2>/dev/null || true
  # The document portal stays mounted there until the bus has ended.
  for _ in {1..100}; do
    rm -rf "$folder" 2>/dev/null && return
    sleep 0.02
  done
  echo "${0##*/}: cannot remove $folder" >&2
}
trap end EXIT

# begin NAME COMMAND... runs it beside the test.
begin() {
  "${@:2}" >"$folder/$1.log" 2>&1 &
  started+=($!)
}
# appears FILE waits until the file exists.
appears() {
  for _ in {1..1500}; do
    compgen -G "$1" >/dev/null && return
    sleep 0.02
  done
  echo "${0##*/}: $1 does not appear" >&2
  tail -n 20 "$folder"/*.log >&2
  return 1
}
# speaks NAME waits until a program owns the name on the bus.
speaks() {
  for _ in {1..1500}; do
    dbus-send --session --print-reply=literal --dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner "string:$1" |
      grep -q true && return
    sleep 0.02
  done
  echo "${0##*/}: no program owns $1" >&2
  tail -n 20 "$folder"/*.log >&2
  return 1
}

unset DISPLAY WAYLAND_DISPLAY
export XDG_RUNTIME_DIR=$folder XDG_CONFIG_HOME=$folder/config
export DBUS_SESSION_BUS_ADDRESS=unix:path=$folder/bus
begin bus dbus-daemon --session --address="$DBUS_SESSION_BUS_ADDRESS" --nofork --nopidfile
appears "$folder/bus"
begin pipewire pipewire
appears "$folder/pipewire-0"
begin wireplumber wireplumber
