#!/bin/bash
# Draws the icons of the application and of the extension from their outlines: tools/icons.sh
#
# Both have the same mark. Sizes up to 24 pixels use a separate outline, whose edges lie on whole pixels.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../packaging/desktop/icons"
for size in 16 22 24 32 48 64 128 256 512; do
  if ((size < 32)); then outline=small.svg; else outline=es.orvo.video.svg; fi
  rsvg-convert -w "$size" -h "$size" "$outline" -o "$size.png"
done
for size in 16 32 48 128; do
  cp "$size.png" "../../../Extension/icons/$size.png"
done
