#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Builds the Debian packages from the files of this tree, committed or not, in build/package, and looks at them with
# lintian. Tests are not run again: scripts/test.sh does that. DEB_BUILD_OPTIONS= scripts/package.sh runs them too.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-packages.sh build-essential cmake debhelper dpkg-dev g++ git lintian ninja-build qtbase5-dev

version=$(dpkg-parsechangelog --show-field Version)
if ! grep -qF "project(VmDatabase VERSION ${version%-*} " CMakeLists.txt; then
    echo "debian/changelog is about ${version%-*}, CMakeLists.txt about another version." >&2
    exit 1
fi

source=build/package/vmdatabase-${version%-*}
rm -rf build/package
mkdir -p "$source"
git ls-files -z --cached --others --exclude-standard | tar --create --null --files-from=- | tar --extract -C "$source"
(cd "$source" && DEB_BUILD_OPTIONS=${DEB_BUILD_OPTIONS-nocheck} dpkg-buildpackage --build=binary -us -uc) \
    >build/package/build.log 2>&1 || {
    cat build/package/build.log
    exit 1
}
lintian --allow-root --fail-on error,warning --info build/package/vmdatabase_*.changes
ls -sh build/package/*.deb
