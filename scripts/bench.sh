#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Sets up, builds and runs the benchmarks: scripts/bench.sh. Prints one table of medians as ratios, library /
# competitor, and draws it: build/bench/benchmarks.svg. About five minutes.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-packages.sh cmake g++ ninja-build qtbase5-dev libbenchmark-dev libsqlite3-dev

mkdir -p build
{ cmake --preset bench && cmake --build --preset bench; } >build/bench.log 2>&1 || {
    cat build/bench.log
    exit 1
}

# Competitors take turns. What feeds and clears leaves a heap in pieces, and whatever allocates next pays for that: each
# such workload has a process of its own, the others share one, in random order.
results=build/bench/benchmarks.csv
competitors=("library" "QMap" "unordered_map" "shared_mutex + unordered_map" "QReadWriteLock + QVariantMap" "SQLite")
fresh=("feed 10x10" "feed 100x100" "feed 1000x100" "feed 10000x10" "feed applications.*" "clear.*")
run() { # WORKLOADS COMPETITOR REPETITIONS
    build/bench/benchmarks/vmdatabase-benchmark --benchmark_filter="^($1)[|]${2//+/[+]}(/|\$)" --benchmark_format=csv \
        --benchmark_repetitions="$3" --benchmark_min_time=0.03 --benchmark_enable_random_interleaving=true \
        2>>build/bench.log >>"$results"
}
: >"$results"
for round in 1 2 3 4 5; do
    echo "round $round of 5" >&2
    for competitor in "${competitors[@]}"; do
        run "[^fc].*" "$competitor" 2
        for workload in "${fresh[@]}"; do
            run "$workload" "$competitor" 1
        done
    done
done

echo "$(date --iso-8601), $(nproc) cores, $(awk '/MemTotal/ { printf "%.0f", $2 / 1048576 }' /proc/meminfo) GB," \
    "$(. /etc/os-release && echo "$PRETTY_NAME"); load at the end $(cut -d' ' -f1 /proc/loadavg)"
echo
sort -V "$results" | awk -f scripts/bench-table.awk -v svg=build/bench/benchmarks.svg
