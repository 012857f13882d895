#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Installs the named Debian packages. The other scripts call it by need-packages.sh, only with those that are missing.
set -euo pipefail

echo "Missing, by the names of their Debian packages: $*" >&2
if ! command -v apt-get >/dev/null; then
    echo "There is no apt-get here: install what your system calls them and run this again." >&2
    echo "Commands are looked for on PATH, libraries with pkg-config." >&2
    exit 1
fi
run=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Installing them takes root or sudo, and there is neither: install them and run this again." >&2
        exit 1
    fi
    run=(sudo)
fi
"${run[@]}" apt-get update
"${run[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -o DPkg::Lock::Timeout=300 --yes --no-install-recommends "$@"
