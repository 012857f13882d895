#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Builds the reference of the public headers and the pages of docs/ as HTML: build/docs/html/index.html. Fails on any
# warning, so also where a public operation is not explained.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-packages.sh doxygen fonts-dejavu-core graphviz

rm -rf build/docs
mkdir -p build/docs/images
for drawing in docs/*.dot; do
    dot -Tsvg "$drawing" -o "build/docs/images/$(basename "$drawing" .dot).svg"
done

VMDATABASE_VERSION=$(sed -n 's/^project(VmDatabase VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
export VMDATABASE_VERSION
doxygen docs/Doxyfile
echo "Documentation: build/docs/html/index.html"
