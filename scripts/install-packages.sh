#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Installs those of the named Debian packages that are missing; quick when none is.
set -euo pipefail

missing=()
for package in "$@"; do
    state=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

run=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "These packages are missing: ${missing[*]}" >&2
        echo "Installing them takes root or sudo, and there is neither: install them and run this again." >&2
        exit 1
    fi
    run=(sudo)
fi
"${run[@]}" apt-get update
"${run[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -o DPkg::Lock::Timeout=300 --yes --no-install-recommends "${missing[@]}"
