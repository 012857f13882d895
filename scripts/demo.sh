#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Sets up, builds the library and its replay program as shipped, and plays a user's day up to three moments.
set -euo pipefail
cd "$(dirname "$0")/.."
feed=examples/feeds/desktops.jsonl
replay=build/release/tools/replay/vmdatabase-replay

# line_before TIME: the line before the comment that begins with that time.
line_before() {
    awk -v begin="# --- $1," 'index($0, begin) == 1 { print NR - 1; found = 1; exit } END { exit !found }' "$feed" || {
        echo "$feed has no comment \"# --- $1,\"" >&2
        exit 1
    }
}

# show LINE WHAT-HAPPENED: what a user is shown after that line.
show() {
    echo
    fold -s -w 80 <<<"$2" | sed 's/ *$//'
    echo "\$ vmdatabase-replay --quiet --until $1 $feed"
    "$replay" --quiet --until "$1" "$feed"
}

drawn=$(line_before 08:02)
tried=$(line_before 08:04)
returned=$(line_before 17:00)

scripts/need-packages.sh cmake g++ ninja-build qtbase5-dev
echo "Building the library and vmdatabase-replay; the first time this takes about a minute."
mkdir -p build
SECONDS=0
{
    cmake --preset release -DBUILD_TESTING=OFF -DVMDATABASE_BUILD_EXAMPLES=OFF -DVMDATABASE_BUILD_VIEWER=OFF
    cmake --build --preset release --target vmdatabase-replay
} >build/demo.log 2>&1 || {
    cat build/demo.log
    exit 1
}
echo "Built in $SECONDS s. What follows is a user's day, as the calls that a client made: $feed."

show "$drawn" "08:01: The list of desktops is drawn. Two pools serve Design, and the user is shown \
the one with the higher priority. Office is shown although a machine is in it, since it \
allows several; Kiosk is taken, so it is hidden."
show "$tried" "08:03: The first pool of Design does not answer; the wheel picks the other, and that \
one is shown."
show "$returned" "16:00: Kiosk's machines were returned, so it is shown again; Retired is gone, and \
the applications of 10:00 are there."

cat <<END

Try next:
  $replay \\
      --explain p-10 --until $tried $feed
  $replay \\
      --history p-11 $feed
  $replay --help
END
