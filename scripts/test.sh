#!/usr/bin/env bash
# Builds everything once and runs the whole test suite in parallel.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh "$@"
ctest --test-dir build -j"$(nproc)" --output-on-failure --timeout 300
