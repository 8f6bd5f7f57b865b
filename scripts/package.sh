#!/usr/bin/env bash
# Builds the Debian package brevio_<version>_amd64.deb from a Release build of its own in
# ./build-package (no tests, no benchmarks) and prints its path. Extra arguments go to cmake.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake -S . -B build-package -G Ninja -DCMAKE_BUILD_TYPE=Release -DBREVIO_TESTS=OFF \
    -DBREVIO_BENCH=OFF "$@" >/dev/null
cmake --build build-package -j"$(nproc)"
cpack --config build-package/CPackConfig.cmake -B build-package/package >/dev/null
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' build-package/CMakeCache.txt)
realpath "build-package/package/brevio_${version}_amd64.deb"
