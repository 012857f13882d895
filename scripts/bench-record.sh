#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# What it costs to record a call, in one thread and in two, compared with the same call alone and under ltrace where that is
# installed. Each figure is the best of five runs: microseconds that go by for a call, and the processor's.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/need-packages.sh cmake ninja-build g++ qtbase5-dev pkgconf

cmake --preset release >/dev/null
cmake --build --preset release --target vmdatabase-record --target vmdatabase-record-library >/dev/null
dir=$(mktemp -d)
trap 'rm -r "$dir"' EXIT
# shellcheck disable=SC2046 # each word is an option
c++ -std=c++17 -O2 -fPIC -Iinclude benchmarks/recordcalls.cpp -o "$dir/recordcalls" \
    -Lbuild/release/src -Wl,-rpath,"$PWD/build/release/src" -lvmdatabase $(pkg-config --cflags --libs Qt5Core) -pthread

record() {
    build/release/tools/record/vmdatabase-record -o "$dir/recording.jsonl" "$@"
}

# NAME RUNS COMMAND...: the best of several runs
best() {
    local name=$1 runs=$2
    shift 2
    for ((i = 0; i < runs; ++i)); do
        "$@" 2>/dev/null
    done | sort -g | head -1 | { read -r time processor && printf '%-34s %9s %9s\n' "$name" "$time" "$processor"; }
}

printf '%-34s %9s %9s\n' 'us a call' 'time' 'processor'
for threads in 1 2; do
    best "alone, $threads thread(s)" 5 "$dir/recordcalls" "$threads" 400000
    best "recorded, $threads thread(s)" 5 record "$dir/recordcalls" "$threads" 100000
    best "recorded --check-threads, $threads thread(s)" 5 record --check-threads "$dir/recordcalls" "$threads" 50000
done
if command -v ltrace >/dev/null; then
    best 'ltrace, 1 thread' 1 ltrace -o "$dir/ltrace" -e '*VmDatabase*@MAIN' "$dir/recordcalls" 1 2000
else
    echo 'ltrace is not installed: sudo apt-get install ltrace to compare with it'
fi
