#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Installs the packages that scripts/package.sh has built, builds and runs README.md's client against them by find_package
# and by pkg-config, plays a feed, and removes them again, whatever came of it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-packages.sh cmake g++ ninja-build pkgconf qtbase5-dev

packages=(libvmdatabase1 libvmdatabase-dev vmdatabase-tools)
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

expect()
{
    local expected=$1 output
    shift
    output=$("$@" 2>&1) || { printf 'Packages: %s\n%s\n' "$*" "$output" >&2; exit 1; }
    grep -qF -- "$expected" <<<"$output" || {
        printf 'Packages: %s does not print %s but\n%s\n' "$*" "$expected" "$output" >&2
        exit 1
    }
}

dir=build/test-package
rm -rf "$dir"
expect "" cmake -S tests/consumer -B "$dir" -G Ninja -D CLIENT="$PWD/examples/minimal/minimal.cpp"
expect VmDatabase_DIR:PATH=/usr/lib cat "$dir/CMakeCache.txt"
expect "" cmake --build "$dir"
expect '"Office" ("machine-1")' "$dir/consumer"

sed -n '/^```cpp$/,/^```$/{/^```/d;p}' README.md >"$dir/client.cpp"
expect "" sh -c "cd '$dir' && $(grep -m1 '^g++ ' README.md)"
expect '"Office" ("machine-1")' "$dir/client"

expect 'getVmPoolNameList() -> ["p-' vmdatabase-replay examples/feeds/desktops.jsonl

# The man page, which names every option, is read from the package: slim machines are set up to leave man pages out.
page=$(dpkg-deb --fsys-tarfile "${files[2]}" | tar --extract --to-stdout ./usr/share/man/man1/vmdatabase-replay.1.gz | zcat)
for option in $(vmdatabase-replay --help | grep -oE -- '--[a-z-]+' | sort -u); do
    name=${option#--}
    grep -qF -- "\\-${name//-/\\-}" <<<"$page" || {
        echo "Packages: the man page does not name $option: tools/replay/vmdatabase-replay.1" >&2
        exit 1
    }
done

remove
trap - EXIT
echo "Packages: installed, built against by find_package and by pkg-config, feed played, removed again."
