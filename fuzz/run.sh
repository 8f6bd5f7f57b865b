#!/bin/sh
# Builds the fuzz targets with clang and runs each for a bounded time.
#   fuzz/run.sh [seconds per target, default 60]
# BUILD_DIR picks the build directory (default build-fuzz at the top of the checkout). New
# inputs and any crash reproducers go to fuzz/corpus-work/, which is not part of the repository.
set -eu

seconds=${1:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build-fuzz}
jobs=${JOBS:-2}

cmake -S "$root" -B "$build" -G Ninja -DBREVIO_FUZZ=ON -DCMAKE_CXX_COMPILER=clang++ \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" --target fuzz_server_frame fuzz_client_frame fuzz_saved_state -j"$jobs"

status=0
# target, corpus folder
for pair in fuzz_server_frame:server fuzz_client_frame:client fuzz_saved_state:state; do
    target=${pair%%:*}
    corpus=${pair#*:}
    work="$root/fuzz/corpus-work/$corpus"
    mkdir -p "$work"
    echo "== $target for ${seconds}s"
    # Reproducers land in $work as crash-*/leak-*/timeout-*; the seed corpus stays read-only.
    # The time-out is generous because a loaded machine can stall a process for seconds.
    "$build/fuzz/$target" -max_total_time="$seconds" -max_len=65536 -timeout=60 \
        -rss_limit_mb=2048 -dict="$root/fuzz/frames.dict" -artifact_prefix="$work/" \
        -print_final_stats=1 "$work" "$root/fuzz/corpus/$corpus" || status=1
done
exit $status
