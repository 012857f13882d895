#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Fails where a source is not formatted as .clang-format says; fix it with clang-format -i.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/need-packages.sh clang-format-14 git

git ls-files -z '*.h' '*.cpp' | xargs -0 clang-format-14 --dry-run --Werror
echo "Format: all sources as .clang-format says."
