#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Releases the last commit: scripts/release.sh [--dry-run]. Fails where the places that name the version differ, runs what
# every submission has to pass, builds the packages a second time, and tags. With --dry-run it does all but the tag.
set -euo pipefail
cd "$(dirname "$0")/.."
case "${1-}" in
"" | --dry-run) ;;
*)
    echo "Usage: scripts/release.sh [--dry-run]" >&2
    exit 2
    ;;
esac
scripts/need-packages.sh dpkg-dev git

version=$(scripts/version.sh)
problems=()
[ -z "$(git status --porcelain)" ] || problems+=("There are changes that are not committed.")
[ -z "$(git tag --list "v$version")" ] || problems+=("v$version is released: raise the version in CMakeLists.txt.")
[[ $(dpkg-parsechangelog --show-field Version) == "$version"-* ]] || problems+=("debian/changelog is not about $version.")
[ "$(dpkg-parsechangelog --show-field Distribution)" != UNRELEASED ] || problems+=("debian/changelog says UNRELEASED.")
grep -qE "^## ${version//./\\.} \([0-9]{4}-[0-9]{2}-[0-9]{2}\)$" CHANGELOG.md ||
    problems+=("CHANGELOG.md has no \"## $version (DATE)\".")
grep -qF "<release version=\"$version\" " tools/viewer/*.metainfo.xml ||
    problems+=("tools/viewer/*.metainfo.xml does not name $version.")
if [ ${#problems[@]} -gt 0 ]; then
    printf '%s\n' "${problems[@]}" >&2
    exit 1
fi

.ci/run
scripts/check-reproducible.sh
(cd build/dist && sha256sum "vmdatabase-$version.tar.xz")
if [ "${1-}" = --dry-run ]; then
    echo "$version can be released: scripts/release.sh tags it."
    exit 0
fi
git tag --annotate "v$version" --message "vmdatabase $version"
echo "Tagged: publish v$version, build/dist/vmdatabase-$version.tar.xz and build/package."
