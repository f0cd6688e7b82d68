#!/bin/sh
# installed.sh BUILD SOURCE COMPILER PROGRAM - installs the tree, by a prefix and by DESTDIR, and
# builds and runs examples/library on it: through find_package and through pkg-config, shared and
# static.  What it writes is what the program writes.
set -eu
build=$1 source=$2 compiler=$3 program=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tour=$source/examples/tour.pdf
"$program" "$tour" "-OUTSPEC=$work/expected.ps" 2>"$work/messages"

# check NAME COMMAND...: runs a program of the example on the document.
check() {
    name=$1
    shift
    rm -f "$work/tour.ps"
    if ! "$@" "$tour" "$work/tour.ps" >"$work/said" 2>&1 || ! cmp "$work/tour.ps" "$work/expected.ps"; then
        echo "$name does not convert as the program does:"
        cat "$work/said"
        exit 1
    fi
}

# try_tree ROOT: builds and runs the example on the tree that is installed there.
try_tree() {
    root=$1
    pc=$(find "$root" -name pdf_to_ps.pc)
    libraries=$(dirname "$(dirname "$pc")")
    LD_LIBRARY_PATH=$libraries
    PKG_CONFIG_PATH=$libraries/pkgconfig
    export LD_LIBRARY_PATH PKG_CONFIG_PATH

    rm -rf "$work/example"
    cmake -S "$source/examples/library" -B "$work/example" "-DCMAKE_PREFIX_PATH=$root" \
        "-DCMAKE_CXX_COMPILER=$compiler" "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror" >"$work/log" 2>&1 &&
        cmake --build "$work/example" >>"$work/log" 2>&1 || {
        cat "$work/log"
        exit 1
    }
    check "find_package, shared" "$work/example/convert"
    check "find_package, static" "$work/example/convert_static"

    # shellcheck disable=SC2046 # flags are words
    "$compiler" -std=c++17 "$source/examples/library/convert.cpp" \
        $(pkg-config --cflags --libs pdf_to_ps) -o "$work/by_pkg_config"
    check "pkg-config, shared" "$work/by_pkg_config"
    # shellcheck disable=SC2046
    "$compiler" -std=c++17 "$source/examples/library/convert.cpp" \
        $(pkg-config --static --cflags --libs pdf_to_ps) -static -o "$work/by_pkg_config_static"
    check "pkg-config, static" env -u LD_LIBRARY_PATH "$work/by_pkg_config_static"
}

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/prefix" # what is installed may be moved
try_tree "$work/prefix"
DESTDIR=$work/dest cmake --install "$build" --prefix /usr >/dev/null
if grep -rl "$work" "$work/dest" >"$work/found"; then
    echo "DESTDIR stands in: $(cat "$work/found")"
    exit 1
fi
try_tree "$work/dest/usr"
