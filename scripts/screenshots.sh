#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Renews docs/viewer.png, the picture of the feed viewer that the documentation shows: the second turn of the wheel in
# examples/feeds/desktops.jsonl. Needs no screen.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/need-packages.sh cmake fonts-dejavu-core g++ ninja-build qtbase5-dev

cmake --preset release -DVMDATABASE_BUILD_VIEWER=ON
cmake --build --preset release --target vmdatabase-viewer

QT_QPA_PLATFORM=offscreen QT_STYLE_OVERRIDE=Fusion LC_ALL=C.UTF-8 \
    build/release/tools/viewer/vmdatabase-viewer --at 57 --pool p-10 --size 1560x960 --screenshot docs/viewer.png \
    examples/feeds/desktops.jsonl
echo "Renewed: docs/viewer.png"
