#!/bin/bash
# Records a sample lesson: tools/sample.sh ORVO
#
# Records 20 seconds with the program ORVO into its library: a virtual display, 1920x1080, with a time-coded page and a
# moving pointer, and Spanish speech as the microphone. Starts its own display and audio server, and stops them
# afterwards. Prints the project's identifier.
set -euo pipefail
export LC_ALL=C.UTF-8

length=20
orvo=$1
work=$(mktemp -d)
started=()
cleanup() {
  ((${#started[@]} == 0)) || kill "${started[@]}" 2>/dev/null || true
  wait
  rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

fail() {
  printf 'Muestra: %s\n' "$1" >&2
  [[ -z ${2:-} ]] || tail -n 20 "$2" >&2
  exit 1
}

# The spoken lines with their start times in seconds, so that the pauses are known.
cat >"$work/said" <<'END'
0.6|Hola, esta es una lección de muestra.
3.8|Todo lo que se ve en esta pantalla se está grabando.
9.0|Eh,
10.0|las pausas y las muletillas se recortan después
13.8|sin tocar la grabación original.
16.8|Y el vídeo sale con sus subtítulos.
END

# Synthesises the lines into voice.wav.
speak() {
  local start text number=0 voice inputs=() graph='' mixed=''
  while IFS='|' read -r start text; do
    voice=$work/$number.wav
    espeak-ng -v es -s 150 -w "$voice" "$text"
    inputs+=(-i "$voice")
    # In milliseconds: adelay silently ignores a fraction of a second.
    graph+="[$number]adelay=$(awk "BEGIN { print int(1000 * $start) }"):all=1[at$number];"
    mixed+="[at$number]"
    number=$((number + 1))
  done <"$work/said"
  ffmpeg -v error "${inputs[@]}" -filter_complex \
    "$graph${mixed}amix=$number:normalize=0,aresample=48000,apad=whole_dur=$length" "$work/voice.wav"
}

# A dark page with lines that appear one after another, a swinging ball, a progress bar and the time.
cat >"$work/page" <<END
color=0x15131A:1920x1080:30[page];
color=0x1D1A24:760x600:30[panel];
color=0x2EC4B6:120x120:1:d=1, format=yuva420p,
  geq=lum='lum(X,Y)':cb='cb(X,Y)':cr='cr(X,Y)':a='255*lt(hypot(X-60,Y-60),59)', loop=-1:1, fps=30[ball];
color=0xB087FF:1640x10:30[bar];
[panel][ball]overlay='320+300*sin(1.7*t)':'240+220*cos(2.3*t)'[swing];
[page][swing]overlay=1020:200[scene];
[scene][bar]overlay='-1500+1640*t/$length':1000,
  drawbox=0:1000:140:10:0x15131A:fill,
  drawtext=font='Liberation Sans':fontsize=76:fontcolor=0xF3F0FA:x=140:y=200:text='Lección de muestra',
  drawtext=font='Liberation Sans':fontsize=44:fontcolor=0xF3F0FA:x=140:y=360:text='La pantalla se graba':enable='gte(t,1)',
  drawtext=font='Liberation Sans':fontsize=44:fontcolor=0xF3F0FA:x=140:y=440:text='Las pausas se recortan':enable='gte(t,6)',
  drawtext=font='Liberation Sans':fontsize=44:fontcolor=0xF3F0FA:x=140:y=520:text='El original no se toca':enable='gte(t,11)',
  drawtext=font='Liberation Sans':fontsize=44:fontcolor=0xF3F0FA:x=140:y=600:text='El vídeo sale con subtítulos':enable='gte(t,16)',
  drawtext=font='Liberation Mono':fontsize=64:fontcolor=0xB087FF:x=100:y=760:text='%{pts\:hms}',
  format=yuv420p
END

# Starts an audio server with loudspeakers and a microphone that records what is played into "micfeed".
start_audio() {
  export XDG_RUNTIME_DIR=$work/run DBUS_SESSION_BUS_ADDRESS=unix:path=$work/run/bus
  mkdir -m 700 "$XDG_RUNTIME_DIR"
  dbus-daemon --session --address="$DBUS_SESSION_BUS_ADDRESS" --nofork --nopidfile 2>"$work/audio.log" &
  started+=($!)
  local program
  for program in pipewire wireplumber pipewire-pulse; do
    "$program" >>"$work/audio.log" 2>&1 &
    started+=($!)
  done
  local tries=200
  until pactl info >/dev/null 2>&1; do
    ((tries--)) || fail 'no se ha podido abrir un servidor de sonido.' "$work/audio.log"
    sleep 0.05
  done
  pactl load-module module-null-sink sink_name=speakers >/dev/null
  pactl load-module module-null-sink sink_name=micfeed >/dev/null
  pactl load-module module-remap-source master=micfeed.monitor source_name=voice >/dev/null
  # Right after the start, pactl may report that this is not supported.
  until pactl set-default-sink speakers 2>/dev/null && pactl set-default-source voice 2>/dev/null &&
    pactl info | grep -q 'Default Source: voice'; do
    ((tries--)) || fail 'no se ha podido elegir el micrófono.' "$work/audio.log"
    sleep 0.1
  done
}

# Moves the pointer, thirty positions per second, longer than the recording lasts.
pointer() {
  awk -v seconds=$((length + 10)) 'BEGIN {
    for (i = 0; i < 30 * seconds; i++) {
      t = i / 30
      printf "mousemove %d %d sleep 0.033 ", 960 + 700 * sin(0.55 * t), 560 + 330 * sin(0.9 * t + 1)
    }
  }'
}

speak
start_audio

mkfifo "$work/display"
Xvfb -displayfd 3 -screen 0 1920x1080x24 -nolisten tcp -noreset 3>"$work/display" 2>"$work/Xvfb.log" &
started+=($!)
read -r -t 30 number <"$work/display" || fail 'no se ha podido abrir una pantalla virtual.' "$work/Xvfb.log"
export DISPLAY=:$number
unset WAYLAND_DISPLAY

SDL_VIDEODRIVER=x11 SDL_RENDER_DRIVER=software ffplay -v error -noborder -left 0 -top 0 -x 1920 -y 1080 -an \
  -f lavfi -graph_file "$work/page" page 2>"$work/ffplay.log" &
started+=($!)
timeout 30 xdotool search --sync --onlyvisible --class ffplay >/dev/null || fail 'la página no se ve.' "$work/ffplay.log"
mapfile -td " " way < <(pointer)
xdotool "${way[@]}" >/dev/null &
started+=($!)

# The voice starts when the recording has started.
"$orvo" record --seconds $((length + 1)) --title 'Lección de muestra' --json >"$work/recorded" 2>"$work/orvo.log" </dev/null &
recording=$!
tries=400
until "$orvo" list --json | grep -q '"state": "recording"'; do
  ((tries--)) || fail 'no se ha podido grabar la pantalla.' "$work/orvo.log"
  sleep 0.05
done
paplay --device=micfeed "$work/voice.wav"
wait "$recording" || fail 'no se ha podido grabar la pantalla.' "$work/orvo.log"
sed -n 's/.*"id": *"\([0-9A-F-]*\)".*/\1/p' "$work/recorded"
