#!/bin/bash
# Construye el servidor de publicación y lo abre en este ordenador, con una carpeta nueva: tools/server.sh [--demo]
#
# Con --demo graba la lección de muestra, la publica en él y dice qué página abrir. Ctrl+C lo para.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/building.sh

demo=
case ${1:-} in
  '') ;;
  --demo) demo=yes ;;
  *) printf 'No existe la opción %s. ./run --help explica el uso.\n' "$1" >&2; exit 2 ;;
esac
(($# <= 1)) || { echo 'Sobran opciones: ./run server [--demo]' >&2; exit 2; }

say() { printf '%s\n' "$*"; }
fail() { printf 'Servidor: %s\n' "$1" >&2; [[ -z ${2:-} ]] || tail -n 20 "$2" >&2; exit 1; }

needed=(build run)
[[ ! $demo ]] || needed+=(sample)
tools/setup.sh "${needed[@]}"
[[ -x build/release/bin/orvo-server ]] || say 'Construyendo (la primera vez, unos minutos)'
shows_only_failures build/release/build.log build release orvo-server ${demo:+orvo}
server=build/release/bin/orvo-server

# The first unused port.
for ((port = 8080; port < 8180; port++)); do
  (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null || break
done

# One folder per port, because another server may be running.
home=$PWD/build/servidor/$port
rm -rf "$home"
mkdir -p "$home"
address=http://localhost:$port
credential=$("$server" init --data "$home/datos" --address "$address" --listen "127.0.0.1:$port" --json |
  sed -n 's/.*"credential": *"\([^"]*\)".*/\1/p')
"$server" run --data "$home/datos" --listen "127.0.0.1:$port" 2>"$home/registro.log" &
running=$!
trap 'kill "$running" 2>/dev/null || true; wait' EXIT
trap 'exit 130' INT TERM
tries=600
until (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; do
  if ! kill -0 "$running" 2>/dev/null || ((--tries == 0)); then
    fail 'no se ha puesto en marcha.' "$home/registro.log"
  fi
  sleep 0.05
done

say "Servidor en marcha"
say "  Dirección       $address"
say "  Credencial      $credential"
say "  Administración  $address/admin/"
say "  Registro        $home/registro.log"

if [[ $demo ]]; then
  tools/model.sh build/models || say 'El modelo de voz se descargará al transcribir.'
  export ORVO_LIBRARY=$home/Biblioteca XDG_CONFIG_HOME=$home/ajustes ORVO_ADMIN_TOKEN=$credential
  orvo=build/release/bin/orvo
  say 'Grabando la lección de muestra (20 segundos)'
  id=$(tools/sample.sh "$orvo")
  "$orvo" transcribe "$id" || say 'Se publica sin subtítulos.'
  "$orvo" settings --server "$address" >/dev/null
  say 'Publicando'
  url=$("$orvo" publish "$id" --domain "http://localhost" --public-link --json | sed -n 's/.*"url": *"\([^"]*\)".*/\1/p')
  [[ $url ]] || fail 'no se ha podido publicar.' "$home/registro.log"
  say "  Abre            $url"
fi
say 'Ctrl+C lo para.'
wait "$running"
