#!/usr/bin/env bash
# Configures and builds Brevio into ./build (Release with debug info). Extra arguments go to cmake.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
cmake --build build -j"$(nproc)"
