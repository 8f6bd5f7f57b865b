#!/usr/bin/env bash
# Writes the application's screens, light and dark, into docs/screenshots/ (or the folder given),
# from the real main window under Xvfb.
set -euo pipefail
cd "$(dirname "$0")/.."
out="${1:-docs/screenshots}"
bash scripts/build.sh >/dev/null
cmake --build build --target brevio_screenshots >/dev/null
home="$(mktemp -d)"
trap 'rm -rf "$home"' EXIT
HOME="$home" XDG_DATA_HOME="$home/data" XDG_CONFIG_HOME="$home/config" XDG_RUNTIME_DIR="$home" \
    xvfb-run -a -s "-screen 0 1280x800x24" build/tests/brevio_screenshots "$out"
