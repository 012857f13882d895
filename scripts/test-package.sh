#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Installs the packages that scripts/package.sh has built, runs their tests in debian/tests, and removes them again,
# whatever came of it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/need-packages.sh apt cmake g++ ninja-build pkgconf qtbase5-dev

mapfile -t packages < <(sed -n 's/^Package: //p' debian/control)
files=()
for package in "${packages[@]}"; do
    file=$(echo build/package/"${package}"_*.deb)
    [ -e "$file" ] || { echo "There is no $file: run scripts/package.sh first." >&2; exit 1; }
    files+=("./$file")
done

run=()
[ "$(id -u)" -eq 0 ] || run=(sudo)
remove() { "${run[@]}" dpkg --purge "${packages[@]}" >/dev/null 2>&1; }
trap remove EXIT
remove # what a run that was killed has left
"${run[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install --yes --no-install-recommends "${files[@]}" \
    >build/test-package.log 2>&1 || {
    cat build/test-package.log
    exit 1
}

export AUTOPKGTEST_TMP=$PWD/build/test-package ROOT=$PWD/build/test-package/root
rm -rf "$AUTOPKGTEST_TMP"
mkdir -p "$ROOT"
for file in "${files[@]}"; do
    dpkg-deb --extract "$file" "$ROOT"
done
mapfile -t tests < <(sed -n 's/^Tests: //p' debian/tests/control)
for test in "${tests[@]}"; do
    debian/tests/"$test" >build/test-package.log 2>&1 || {
        cat build/test-package.log
        echo "Packages: debian/tests/$test fails." >&2
        exit 1
    }
done

remove
trap - EXIT
echo "Packages: installed; ${tests[*]}: passed; removed again."
