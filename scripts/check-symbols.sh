#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The vmdatabase authors
# SPDX-License-Identifier: MIT

# Fails where the library as shipped exports or needs anything else than it should:
#     scripts/check-symbols.sh            builds it if need be and checks it
#     scripts/check-symbols.sh LIBRARY    checks that one, for whatever architecture it is
#     scripts/check-symbols.sh --update   writes what it exports into the list
# The list is debian/libvmdatabase1.symbols, the same that packages are built with. A symbol keeps the version that it has
# there; a new one gets the library's.
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C

list=debian/libvmdatabase1.symbols
soname=libvmdatabase.so.1
classes='RemoteApp|VmDatabase|VmDatabasePrivate|VmItemNode|VmNode|VmPolicy|VmPoolNode'
needed='libQt5Core\.so\.5|libstdc\+\+\.so\.6|libgcc_s\.so\.1|libm\.so\.6|libc\.so\.6|ld-linux-[^/]*'

scripts/need-packages.sh binutils
library=build/release/src/libvmdatabase.so
case "${1:-}" in
"" | --update)
    scripts/need-packages.sh cmake g++ ninja-build qtbase5-dev
    mkdir -p build
    { cmake --preset release -DBUILD_TESTING=OFF && cmake --build --preset release --target vmdatabase; } \
        >build/symbols.log 2>&1 || {
        cat build/symbols.log
        exit 1
    }
    ;;
-*)
    sed -n '/^#     /s/^#  *//p' "$0" >&2
    exit 1
    ;;
*) library=$1 ;;
esac
[ -e "$library" ] || {
    echo "No such library: $library" >&2
    exit 1
}
version=$(readlink -f "$library")
version=${version##*.so.}

fail()
{
    echo "Symbols: $1" >&2
    cat >&2
    exit 1
}

dynamic=$(readelf --dynamic --wide "$library")
if ! grep -qF "soname: [$soname]" <<<"$dynamic"; then
    fail "the library is not $soname." <<END
A new SONAME needs a new package: rename debian/libvmdatabase1.* and change its name here and in debian/control.
END
fi
if foreign=$(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic" | grep -vxE "$needed"); then
    fail "the library needs more than Qt5Core and the C and C++ runtimes:" <<END
$foreign
Link nothing else in src/CMakeLists.txt.
END
fi

exported=$(nm --dynamic --demangle --defined-only "$library" | cut -d' ' -f3- | sort -u)
if foreign=$(grep -vxE "((vtable|typeinfo|typeinfo name) for )?($classes)|($classes)::.*" <<<"$exported"); then
    fail "the library exports what belongs to none of its seven classes:" <<END
$foreign
Take the export macro off it, or inline what the compiler instantiates.
END
fi

# The list as it should be: what is exported, each with its version from the list as it is.
wanted=$(
    printf '%s libvmdatabase1 #MINVER#\n* Build-Depends-Package: libvmdatabase-dev\n' "$soname"
    awk -v version="$version" '
        FILENAME == ARGV[1] { if (match($0, /@Base" /)) since[substr($0, 1, RSTART - 1)] = substr($0, RSTART + 7); next }
        { name = " (c++)\"" $0; print name "@Base\" " (name in since ? since[name] : version) }
    ' "$list" - <<<"$exported"
)
if [ "${1:-}" = --update ]; then
    echo "$wanted" >"$list"
    echo "Symbols: $list written; git diff shows what has changed."
elif ! differences=$(diff "$list" - <<<"$wanted"); then
    fail "the library does not export what $list lists:" <<END
$(sed -n 's/^< / lost   /p; s/^> / new    /p' <<<"$differences")
A new symbol: run scripts/check-symbols.sh --update and commit the list.
A lost one, or one that is lost and new because its signature changed, breaks programs that were built against the
library: bring it back. If no release has had it, or the SONAME is raised with it, run scripts/check-symbols.sh --update.
END
else
    echo "Symbols: $(wc -l <<<"$exported") names, as listed; needs nothing but Qt5Core and the C and C++ runtimes."
fi
