#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Builds the tarball, from it the Debian source package and from that the binary packages, in build/package, and looks at
# all of them with lintian. Tests are not run again: scripts/test.sh does that. DEB_BUILD_OPTIONS= scripts/package.sh runs
# them too.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/need-packages.sh dpkg-dev git lintian
dpkg-checkbuilddeps 2>/dev/null || # which takes nothing but packages
    scripts/install-packages.sh build-essential cmake debhelper doxygen ninja-build pkgconf qtbase5-dev

version=$(dpkg-parsechangelog --show-field Version)
upstream=${version%-*}
if [ "$(scripts/version.sh)" != "$upstream" ]; then
    echo "debian/changelog is about $upstream, CMakeLists.txt about another version." >&2
    exit 1
fi

flags="$(dpkg-buildflags --get CXXFLAGS | sed 's/-ffile-prefix-map=[^ ]* //') $(dpkg-buildflags --get CPPFLAGS)"
if ! cmake --preset release -N | grep -F "CMAKE_CXX_FLAGS=\"$flags\"" >/dev/null; then
    echo "Packages are built with $flags: set that in CMakePresets.json, as the benchmarks are built." >&2
    exit 1
fi

rm -rf build/package
mkdir -p build/package
scripts/tarball.sh >/dev/null
cp "build/dist/vmdatabase-$upstream.tar.xz" "build/package/vmdatabase_$upstream.orig.tar.xz"
tar --extract --directory build/package --file "build/package/vmdatabase_$upstream.orig.tar.xz"
git ls-files -z debian | tar --create --null --files-from=- | tar --extract --directory "build/package/vmdatabase-$upstream"
cd build/package
(cd "vmdatabase-$upstream" && DEB_BUILD_OPTIONS=${DEB_BUILD_OPTIONS-nocheck} dpkg-buildpackage --build=full -us -uc) \
    >build.log 2>&1 || {
    cat build.log
    exit 1
}
lintian --allow-root --display-info --pedantic --fail-on error,warning,info,pedantic --info vmdatabase_*.changes
ls -sh ./*.dsc ./*.tar.xz ./*.deb
