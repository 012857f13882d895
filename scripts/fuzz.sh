#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Throws hostile input at the library and at the reader of the replay program, SECONDS each, 60 if none are named:
# scripts/fuzz.sh [SECONDS]. 0 only replays the inputs in the tree. What is found new is kept in build/, not in the tree.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/need-packages.sh clang-14 cmake g++ libclang-rt-14-dev ninja-build qtbase5-dev

seconds=${1:-60}
cmake --preset fuzz
cmake --build --preset fuzz

# What the library leaves allocated for compatibility would drown the rest; the tests account for it.
export ASAN_OPTIONS=detect_leaks=0
for target in database replay; do
    found=build/fuzz/found/$target
    mkdir -p "$found"
    corpus=("fuzz/corpus/$target")
    [ $target = replay ] && corpus+=(examples/feeds)
    options=(-detect_leaks=0 -timeout=60 -rss_limit_mb=4096 -artifact_prefix="$found-")
    echo "== $target"
    if [ "$seconds" -eq 0 ]; then
        build/fuzz/fuzz/fuzz_$target "${options[@]}" -runs=0 "${corpus[@]}"
    else
        build/fuzz/fuzz/fuzz_$target "${options[@]}" -max_total_time="$seconds" -max_len=4096 -len_control=0 \
            -print_final_stats=1 "$found" "${corpus[@]}"
    fi
done
