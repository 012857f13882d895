#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Sets up, builds and runs all tests: scripts/test.sh [PRESET], "dev" if none is named.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/need-packages.sh cmake g++ ninja-build pkgconf qtbase5-dev

preset=${1:-dev}
cmake --preset "$preset"
cmake --build --preset "$preset"
ctest --preset "$preset"
