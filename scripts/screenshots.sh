#!/usr/bin/env bash
# Takes the README's pictures under a virtual X server.
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD=${BUILD:-build}
xvfb-run -a -s "-screen 0 1400x1000x24" "$BUILD/bin/kelp-screenshots" docs/screens
