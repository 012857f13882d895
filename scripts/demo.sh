#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Sets up, builds the library as shipped and plays two feeds through it: the replies of a real pool server, whose machines
# are all returned in the end, and a user's day up to the afternoon. Then runs the client with two threads.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-packages.sh cmake g++ ninja-build qtbase5-dev

echo "Building the library as shipped: about a minute."
mkdir -p build
{ cmake --preset release -DBUILD_TESTING=OFF && cmake --build --preset release; } >build/demo.log 2>&1 || {
    cat build/demo.log
    exit 1
}

replay=build/release/tools/replay/vmdatabase-replay
echo "== examples/feeds/pool-server.jsonl: line, operation, answer; then what a user is shown in the end"
"$replay" --stats examples/feeds/pool-server.jsonl
echo
echo "== examples/feeds/desktops.jsonl, up to 16:00: what a user is shown"
sed '/^# --- 17:00/,$d' examples/feeds/desktops.jsonl | "$replay" --quiet -
echo
echo "== examples/client, two seconds: one thread stores what three servers reply, the other one draws"
build/release/examples/vmdatabase-client 2
