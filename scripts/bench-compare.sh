#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Compares this tree's library with that of COMMIT: scripts/bench-compare.sh COMMIT [WORKLOADS], which is a regular
# expression. This tree's benchmark runs on both in turns; prints medians and the ratio new / old. About six minutes.
# Compare with HEAD, without changes of your own, to see what chance alone does.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/need-packages.sh cmake g++ git ninja-build python3 qtbase5-dev libbenchmark-dev libsqlite3-dev

# Both libraries lie at paths of equal length, since the size of the environment moves a program's stack.
folder=$PWD/build/bench-compare
rm -rf "$folder"
mkdir -p "$folder"/{source,new,old}
git archive "${1:?COMMIT}" | tar -x -C "$folder/source"
build() { # TREE TARGET COPY
    (cd "$1" && cmake --preset bench && cmake --build --preset bench --target "$2" && cp build/bench/src/lib* "$3") \
        >build/bench.log 2>&1 || {
        cat build/bench.log
        exit 1
    }
}
build . all "$folder/new"
build "$folder/source" vmdatabase "$folder/old"

benchmark=build/bench/benchmarks/vmdatabase-benchmark
chosen=${2:-^(read|overwrite|get|set|deal|wheel|feed).* (10x10|100x100|1000x1)$}
mapfile -t workloads < <("$benchmark" --benchmark_list_tests | sed -n 's/|library.*//p' | grep -E "$chosen")
sides=(new old)
for round in {1..15}; do
    echo "round $round of 15" >&2
    for workload in "${workloads[@]}"; do
        turns=1 seconds=0.1
        [[ $workload =~ ^(feed|clear|remove) ]] && turns=5 seconds=0.000001 # once in each process, as in bench.sh
        for ((turn = 0; turn < turns; ++turn)); do
            for side in "${sides[@]}"; do
                LD_LIBRARY_PATH=$folder/$side "$benchmark" --benchmark_filter="^${workload}[|]library" \
                    --benchmark_min_time=$seconds --benchmark_format=csv 2>>build/bench.log | sed "s/|library/|$side/"
            done
        done
    done
    sides=("${sides[1]}" "${sides[0]}")
done >"$folder/results.csv"
scripts/bench-table.py "$folder/results.csv" "$folder/ratios.svg" new old
