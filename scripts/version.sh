#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Prints the version, which stands in CMakeLists.txt.
set -euo pipefail
cd "$(dirname "$0")/.."
sed -n 's/^project(VmDatabase VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt
