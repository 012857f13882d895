#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Builds the reference of the public headers and the pages of docs/ as HTML: build/docs/html/index.html. Fails on any
# warning, so also where a public operation is not explained, and where a drawing in docs/ is older than its source.
# With --update it only draws them anew.
set -euo pipefail
cd "$(dirname "$0")/.."

# Each drawing names the hash of its source: another version of graphviz draws the same source a little differently.
digest() { sha256sum <"$1" | cut -d ' ' -f 1; }

if [ "${1:-}" = --update ]; then
    scripts/need-packages.sh fonts-dejavu-core graphviz
    for source in docs/*.dot; do
        dot -Tsvg "$source" | sed "/^<g id=\"graph0\"/i\\
<style>@media (prefers-color-scheme: dark) { svg { filter: invert(0.9) hue-rotate(180deg) } }</style>
            1a\\
<!-- SPDX-FileCopyrightText: 2026 The vmdatabase authors -->\\
<!-- SPDX-License-Identifier: MIT -->\\
<!-- Drawn by scripts/docs.sh from $(basename "$source"), sha256 $(digest "$source") -->" >"${source%.dot}.svg"
    done
    exit 0
fi

for source in docs/*.dot; do
    if ! grep --quiet --no-messages "sha256 $(digest "$source") " "${source%.dot}.svg"; then
        echo "${source%.dot}.svg is not drawn from $source as it is now: run scripts/docs.sh --update." >&2
        exit 1
    fi
done

scripts/need-packages.sh doxygen
rm -rf build/docs
mkdir -p build
version=$(scripts/version.sh)
VMDATABASE_VERSION=$version VMDATABASE_DOCS=build/docs doxygen docs/Doxyfile
echo "Documentation: build/docs/html/index.html"
