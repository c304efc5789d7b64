#!/bin/bash
# Recorre el trabajo completo sin ventanas con el programa ORVO: tools/terminal.sh ORVO CARPETA [VÍDEO]
#
# Graba una pantalla virtual con voz, o importa el vídeo; transcribe, recorta, pone texto y zoom, y exporta a la carpeta. Sin
# vídeo, también la biblioteca queda en ella.
set -euo pipefail
export LC_ALL=C.UTF-8
orvo=$1 folder=$2 movie=${3:-}

say() { printf '%s\n' "$*"; }
title() { printf '\n%s\n' "$*"; }

# Shows a command as a user would type it.
show() {
  local word line='$ orvo'
  for word; do
    if [[ $word =~ ^[[:alnum:]_./:,=@%+-]+$ ]]; then line+=" $word"; else line+=" '${word//\'/\'\\\'\'}'"; fi
  done
  say "$line"
}

# Shows a command and runs it.
shown() {
  show "$@"
  "$orvo" "$@"
}

# The properties of a movie: seconds, frame size and megabytes.
facts() {
  local seconds width height
  seconds=$(ffprobe -v error -show_entries format=duration -of csv=p=0 "$1")
  IFS=, read -r width height _ < <(ffprobe -v error -select_streams v:0 -show_entries stream=width,height -of csv=p=0 "$1")
  awk -v s="$seconds" -v w="$width" -v h="$height" -v b="$(stat -c %s -- "$1")" 'BEGIN {
    text = sprintf("%.1f s, %d×%d, %.1f MB", s, w, h, b / 1000000); gsub(/\./, ",", text); print text }'
}

# at SHARE [LIMIT]: that share of the recording in seconds, at most LIMIT.
at() { awk -v d="$duration" -v share="$1" -v limit="${2:-1e9}" 'BEGIN { v = d * share; printf "%.2f", v < limit ? v : limit }'; }

sample=
if [[ -z $movie ]]; then
  title 'Grabar: 20 segundos de una pantalla virtual, con voz'
  sample=$folder
  mkdir -p "$sample"
  result=$sample/muestra.mp4
  export ORVO_LIBRARY=$sample/Biblioteca
  show record --seconds 21 --title 'Lección de muestra'
  id=$("${BASH_SOURCE[0]%/*}/sample.sh" "$orvo")
else
  # Chooses an unused name instead of overwriting an older file.
  name=$(basename "$movie")
  result="$folder/${name%.*} - Orvo.mp4"
  for ((number = 2; ; number++)); do
    [[ -e $result || -e ${result%.mp4}.srt ]] || break
    result="$folder/${name%.*} - Orvo $number.mp4"
  done
fi

if [[ -z $sample ]]; then
  title 'Importar'
  show import "$movie"
  id=$("$orvo" import "$movie" --json | sed -n 's/.*"id": *"\([0-9A-F-]*\)".*/\1/p')
fi
project=$("$orvo" show "$id" | sed -n 's/^ *Carpeta *//p')
[[ -z $sample ]] || movie=$project/media/screen.mov
duration=$(ffprobe -v error -show_entries format=duration -of csv=p=0 "$movie")
short=${id%%-*}
shown validate "$short"

title 'Transcribir'
transcribed=
if shown transcribe "$short"; then transcribed=yes; elif [[ $sample ]]; then exit 1; fi

title 'Editar'
if [[ $transcribed ]]; then
  shown suggest "$short"
  shown apply "$short" --all
else
  shown cut "$short" "$(at 0.3)" "$(at 0.35)"
fi
shown text "$short" "$(at 0.05)" 'Editado con Orvo Video' --duration "$(at 0.2 4)" --y 0.83
shown zoom "$short" "$(at 0.6)" --x 0.7 --y 0.45 --duration "$(at 0.15 3)"

title 'Exportar'
if [[ $transcribed ]]; then shown subtitles "$short" "${result%.mp4}.vtt"; fi
shown export "$short" "$result"

title 'Hecho'
say "  Original    $movie"
say "              $(facts "$movie")"
say "  Resultado   $result"
say "              $(facts "$result")"
# Subtitles are empty without a transcript.
for subtitles in "${result%.mp4}".{srt,vtt}; do
  if grep -qs -- '-->' "$subtitles"; then say "  Subtítulos  $subtitles"; fi
done
say "  Proyecto    $project"
