#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Sets up, cross-builds the library as shipped for 64-bit ARM and runs all tests and the demo feed under user-mode
# emulation. The first run fetches arm64 packages into build/arm64-sysroot; remove that folder to fetch them anew.
#
# What passes here shows that the code is built right for the architecture and reckons right on it. It says nothing about
# ARM's memory ordering: an emulator on another processor has that processor's.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/need-packages.sh apt cmake file g++-aarch64-linux-gnu ninja-build qemu-user-static qtbase5-dev

# Unpacks arm64 packages into the folder that cmake/aarch64-linux-gnu.cmake names. apt gets a state of its own, so that
# the host's, its list of architectures above all, stays as it is; where to fetch from is the host's configuration.
make_sysroot() {
    local packages=(libc6 libdouble-conversion3 libgcc-s1 libglib2.0-0 libicu72 libpcre2-16-0 libpcre2-8-0 libqt5core5a
        libqt5test5 libstdc++6 libzstd1 qt5-qmake qtbase5-dev zlib1g)
    local work=$PWD/build/arm64-packages
    rm -rf "$work"
    mkdir -p "$work"/{cache/archives/partial,state/lists/partial,debs,root}
    : >"$work/status"
    cat >"$work/apt.conf" <<END
APT::Architecture "arm64";
#clear APT::Architectures;
APT::Architectures "arm64";
#clear APT::Update;
APT::Sandbox::User "root";
Acquire::Languages "none";
Dir::State "$work/state";
Dir::State::status "$work/status";
Dir::Cache "$work/cache";
END
    apt-get --config-file "$work/apt.conf" update
    (cd "$work/debs" && apt-get --config-file "$work/apt.conf" download "${packages[@]}")
    local deb
    for deb in "$work"/debs/*.deb; do
        dpkg-deb --extract "$deb" "$work/root"
    done
    # moc and qmake have to run here.
    rm -rf "$work/root/usr/lib/qt5/bin"
    mkdir -p "$work/root/usr/lib/qt5"
    ln -s /usr/lib/qt5/bin "$work/root/usr/lib/qt5/bin"
    mv "$work/root" build/arm64-sysroot
    rm -rf "$work"
}
[ -d build/arm64-sysroot ] || make_sysroot

cmake --preset arm64
cmake --build --preset arm64
ctest --preset arm64
qemu-aarch64-static -L build/arm64-sysroot build/arm64/tools/replay/vmdatabase-replay examples/feeds/pool-server.jsonl
file --dereference build/arm64/src/libvmdatabase.so.1
