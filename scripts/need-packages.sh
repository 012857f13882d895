#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Looks for what the scripts use of the named Debian packages, wherever it comes from, and has only those installed of
# which it is missing: scripts/need-packages.sh PACKAGE...
set -euo pipefail

# Packages whose command has another name.
declare -A commands=([binutils]=readelf [clazy]=clazy-standalone [dpkg-dev]=dpkg-buildpackage
    [g++-aarch64-linux-gnu]=aarch64-linux-gnu-g++ [graphviz]=dot [ninja-build]=ninja [pkgconf]=pkg-config
    [qemu-user-static]=qemu-aarch64-static [xz-utils]=xz)

is_there() {
    dpkg-query --show --showformat='${db:Status-Status}\n' "$1" | grep -x installed && return
    case $1 in
    fonts-dejavu-core) fc-list 'DejaVu Sans' | grep . ;;
    libbenchmark-dev) pkg-config --exists benchmark ;;
    libsqlite3-dev) pkg-config --exists sqlite3 ;;
    qtbase5-dev) pkg-config --exists Qt5Test Qt5Widgets ;;
    *) command -v "${commands[$1]-$1}" ;;
    esac
} >/dev/null 2>&1

missing=()
for package in "$@"; do
    is_there "$package" || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] || "${0%/*}/install-packages.sh" "${missing[@]}"
