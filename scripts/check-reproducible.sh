#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Builds the packages of build/package once more from their source package, in another folder and with another umask, time
# zone and locale, and fails unless every one has the same bytes. Tests run in this build, as they do for a packager.
# scripts/package.sh comes first, which also installs what packages are built with.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/need-packages.sh dpkg-dev locales

first=$PWD/build/package
ls "$first"/*.deb >/dev/null || { echo "Run scripts/package.sh first." >&2; exit 1; }
folder=$(mktemp --directory --suffix=-in-quite-another-folder)
trap 'rm -rf "$folder"' EXIT
localedef -i tr_TR -f UTF-8 "$folder/tr_TR.UTF-8"

(
    umask 077
    dpkg-source --extract "$first"/*.dsc "$folder/source"
    cd "$folder/source"
    export TZ=Pacific/Kiritimati LOCPATH=$folder LC_ALL=tr_TR.UTF-8
    dpkg-buildpackage --build=binary -us -uc
) >build/reproducible.log 2>&1 || {
    cat build/reproducible.log
    exit 1
}
(cd "$first" && sha256sum ./*.deb) | tee build/reproducible.sha256
(cd "$folder" && sha256sum --check --quiet "$OLDPWD/build/reproducible.sha256")
echo "Reproducible: $(wc -l <build/reproducible.sha256) packages, built twice, have the same bytes."
