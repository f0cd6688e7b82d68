#!/bin/sh
# warnings.sh BUILD [JOBS [TOGETHER [OTHER]]] - compiles every source of a configured tree for the
# warnings alone; with OTHER those that this tree, of the same compiler, does not build
#
# Nothing is made but the precompiled headers, where the tree has them.  (Sources that the build
# itself makes are left out.)
#
# Most of the time goes into headers, so sources of one target without precompiled ones are read as
# one, up to TOGETHER of them (12; 1: each by itself).  Where that fails, be it for a warning or because
# two have the same name for different things, each half is tried, down to the single source: what is
# told is told of a source by itself.
set -eu

# batch FILE: the command on the first line, a source on each further one.
batch() {
    count=$(($(wc -l <"$1") - 1))
    # Line marks leave messages where they belong; and warnings are not as for included files.
    sed -n '2,$p' "$1" | while IFS= read -r source; do
        echo "#line 1 \"$source\""
        cat "$source"
    done >"$1.cpp"
    if [ "$count" -eq 1 ]; then
        eval "$(sed -n 1p "$1") -fsyntax-only $(sed -n 2p "$1")"
        return
    fi
    ! eval "$(sed -n 1p "$1") -fsyntax-only -Wfatal-errors $1.cpp" 2>/dev/null || return 0
    half=$((1 + count / 2))
    sed -n "1,${half}p" "$1" >"$1.a"
    sed -n "1p; $((half + 1)),\$p" "$1" >"$1.b"
    failed=0
    "$0" --batch "$1.a" || failed=1
    "$0" --batch "$1.b" || failed=1
    return $failed
}

if [ "$1" = --batch ]; then
    batch "$2"
    exit
fi
self=$(readlink -f "$0")
build=$(readlink -f "$1")
jobs=${2:-2}
batches=$build/warnings

# ninja knows the precompiled headers by their names.
headers=$(ninja -C "$build" -t targets all | sed -n 's/^\([^ ]*cmake_pch\.hxx\.[gp]ch\): .*/\1/p')
# shellcheck disable=SC2086 # one word for each header
[ -z "$headers" ] || ninja -C "$build" -j "$jobs" $headers >"$build/warnings.log" || {
    tail -n 60 "$build/warnings.log" >&2
    exit 1
}

rm -rf "$batches"
mkdir "$batches"
: >"$batches.known"
if [ -n "${4:-}" ]; then
    {
        sed -n 's/^  "file": "\(.*\)".*/\1/p' "$4/compile_commands.json"
        find "$4" -name 'unity_*.cxx' -exec sed -n 's/^#include "\(.*\)"/\1/p' {} +
    } >"$batches.known"
fi
sed -n 's/^  "command": "\(.*\)",$/\1/p' "$build/compile_commands.json" |
    grep -v "cmake_pch\.hxx\.cxx$" | grep -v " -c $build/" |
    sed 's/\\"/"/g; s/\\\\/\\/g' |
    awk -v batches="$batches" -v together="${3:-12}" -v known="$batches.known" '
        BEGIN {
            while ((getline line <known) > 0)
                is_known[line] = 1
        }
        {
            source = target = $0
            sub(/.* -c /, "", source)
            if (is_known[source])
                next
            sub(/\.dir\/[^ ]* -c .*/, "", target)
            sub(/ -o [^ ]* -c .*/, "")
            most = /-include-pch/ ? 1 : together
            if (count[target]++ % most == 0) {
                batch[target] = sprintf("%s/%03d", batches, ++number)
                print >batch[target]
            }
            print source >>batch[target]
            close(batch[target])
        }'
[ -e "$batches/001" ] || [ -s "$batches.known" ] || { echo "No commands in $build" >&2 && exit 1; }
cd "$build"
find "$batches" -type f | sort | xargs -n 1 -P "$jobs" "$self" --batch
