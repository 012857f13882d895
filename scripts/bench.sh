#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Sets up, builds and runs the benchmarks: scripts/bench.sh [WORKLOADS], all of them or those that the regular expression
# finds. Prints medians as ratios, library / competitor, and draws them: build/bench/benchmarks.svg. About nine minutes.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/need-packages.sh cmake g++ ninja-build python3 qtbase5-dev libbenchmark-dev libsqlite3-dev

mkdir -p build
{ cmake --preset bench && cmake --build --preset bench; } >build/bench.log 2>&1 || {
    cat build/bench.log
    exit 1
}

# The competitors of a workload take turns in random order, since what the machine's neighbours do to its caches and
# memory changes within seconds. What fills or empties a store is measured once in a process of its own each time: a heap
# in pieces, which an earlier store leaves, would be part of the price.
benchmark=build/bench/benchmarks/vmdatabase-benchmark
results=build/bench/benchmarks.csv
run() { # FILTER REPETITIONS SECONDS
    "$benchmark" --benchmark_filter="$1" --benchmark_repetitions="$2" --benchmark_min_time="$3" \
        --benchmark_enable_random_interleaving=true --benchmark_format=csv 2>>build/bench.log >>"$results"
}
mapfile -t tests < <("$benchmark" --benchmark_list_tests)
mapfile -t workloads < <(printf '%s\n' "${tests[@]%%|*}" | awk '!seen[$0]++' | grep -E "${1:-.}")
: >"$results"
for round in 1 2; do
    echo "round $round of 2" >&2
    for workload in "${workloads[@]}"; do
        if [[ $workload =~ ^(feed|clear|remove) ]]; then
            for _ in 1 2 3 4 5; do
                printf '%s\n' "${tests[@]}" | grep -F "$workload|" | sed 's/[+|]/[&]/g' | shuf | while read -r test; do
                    run "^$test\$" 1 0.000001
                done
            done
        else
            run "^${workload}[|]" 7 0.05
        fi
    done
done

echo "$(date --iso-8601), $(nproc) cores, $(awk '/MemTotal/ { printf "%.0f", $2 / 1048576 }' /proc/meminfo) GB," \
    "$(. /etc/os-release && echo "$PRETTY_NAME"); load at the end $(cut -d' ' -f1 /proc/loadavg)"
mapfile -t competitors < <(printf '%s\n' "${tests[@]#*|}" | sed 's|/.*||' | awk '!seen[$0]++')
scripts/bench-table.py "$results" build/bench/benchmarks.svg "${competitors[@]}"
