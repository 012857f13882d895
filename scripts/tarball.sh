#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Writes the release's tarball, build/dist/vmdatabase-VERSION.tar.xz: the last commit with the changes since then to files
# that git knows, and without debian/, which is a package's own. A commit without changes gives the same bytes each time.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/need-packages.sh git xz-utils

version=$(scripts/version.sh)
tree=$(git -c user.name=nobody -c user.email=nobody@example.org stash create)
mkdir -p build/dist
git archive --prefix="vmdatabase-$version/" "${tree:-HEAD}" -- . ':(exclude)debian' | xz -9 >"build/dist/vmdatabase-$version.tar.xz"
echo "build/dist/vmdatabase-$version.tar.xz"
