#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Sets up and searches our own sources for what neither compiler nor tests find; fails on any finding:
# scripts/check-static.sh [TARGETS], all of them or those whose name the regular expression finds. Tests are left out:
# QtTest's macros and misuse on purpose would drown what matters.
#
# clang-tidy's checks are in .clang-tidy, those of clazy, which knows Qt, are here. A finding is fixed, or else
# suppressed at its place with the reason: NOLINTNEXTLINE(check) for clang-tidy, clazy:exclude=check for clazy.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/need-packages.sh clang-tidy-14 clazy cmake g++ libbenchmark-dev libclang-rt-14-dev libsqlite3-dev ninja-build \
    qtbase5-dev

clazy_checks=(
    level2 # and all below: detaching access, strict iterators, old-style connections, implicit casts, allocations
    no-function-args-by-ref   # clang-tidy's performance-unnecessary-value-param sees what is done with the argument
    no-function-args-by-value # enumerations by reference are what callers are built against; nothing else small is
    assert-with-side-effects
    container-inside-loop
    detaching-member # a detach under a read lock is a write
    heap-allocated-small-trivial-type
    isempty-vs-count
    qstring-varargs
    reserve-candidates
    signal-with-return-value
    unneeded-cast
    use-arrow-operator-instead-of-data
)
# The tools have one more list: they hold no lock while a container detaches, and what a client's call costs is not theirs.
tool_checks=(
    no-detaching-member
    no-missing-typeinfo
    no-non-pod-global-static
    no-old-style-connect # the recorder's library does not link the class whose signal it hears
    no-reserve-candidates
    no-returning-void-expression
    no-ctor-missing-parent-argument
)
folders='(include/vmdatabase|src|tools|examples|benchmarks|fuzz)'

# The sources of a target are analysed as one, so that the headers of Qt are read once for all of them.
build=build/static
cmake --preset static >/dev/null
mapfile -t sources < <(sed -n 's/^ *"file": "\(.*\)".*/\1/p' "$build/compile_commands.json" |
    grep -E "^$PWD/$build/$folders/.*/Unity/" | grep -E "${1:-.}" | sort -u)

# Prints what a tool reports, without its count of what it left out, and only if it fails.
report() {
    local output
    output=$("$@" 2>&1) && return
    grep -vE '^([0-9]+ (warning|error)|Suppressed|Use -header-filter)' <<<"$output"
    return 1
}
check() {
    local status=0
    report clang-tidy-14 --quiet -p "$build" "$1" || status=1
    local list=$checks
    [[ $1 != */tools/* ]] || list+=,$tool_checks_list
    report clazy-standalone -p "$build" --extra-arg=-Werror --checks="$list" --header-filter=".*/$folders/.*" "$1" ||
        status=1
    return $status
}
export -f report check
export build folders
checks=$(IFS=, && echo "${clazy_checks[*]}")
tool_checks_list=$(IFS=, && echo "${tool_checks[*]}")
export checks tool_checks_list

printf '%s\n' "${sources[@]}" | xargs -d '\n' -P "$(nproc)" -I{} bash -c 'check "$1"' - {}
echo "Static analysis: no finding in $(grep -h '#include' "${sources[@]}" | wc -l) sources and their headers."
