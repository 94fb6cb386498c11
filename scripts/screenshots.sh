#!/usr/bin/env bash
# Takes the pictures of the windows under a virtual X server: the README's set (light, scale 1),
# the same windows in the dark look, and a few at scales 1.5 and 2 (docs/README.md lists them).
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD=${BUILD:-build}
OUT=docs/screens

# shoot FOLDER SCREEN [KEEP...]: one run of the tool; only the pictures named are kept.
shoot() {
  local folder=$1 screen=$2
  shift 2
  local tmp
  tmp=$(mktemp -d)
  xvfb-run -a -s "-screen 0 ${screen}x24" "$BUILD/bin/kelp-screenshots" "$tmp" >/dev/null
  mkdir -p "$folder"
  if [ $# -eq 0 ]; then set -- "$tmp"/*.png; else set -- "${@/#/$tmp/}"; fi
  cp "$@" "$folder"/
  rm -rf "$tmp"
  ls "$folder"
}

KELP_THEME=light shoot "$OUT" 1400x1000
KELP_THEME=dark shoot "$OUT/dark" 1400x1000 main.png sar-run.png sar-analysis.png \
  sd-two-charts.png sd-analysis.png
QT_SCALE_FACTOR=1.5 KELP_THEME=light shoot "$OUT/scale-1.5" 2000x1600 main.png sd-two-charts.png
QT_SCALE_FACTOR=2 KELP_THEME=light shoot "$OUT/scale-2" 2600x2000 main.png sar-analysis.png
