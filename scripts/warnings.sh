#!/bin/sh
# warnings.sh BUILD [JOBS] - compiles every source of a configured tree for the warnings alone
#
# Nothing is made but the precompiled headers, where the tree has them.  (Sources that the build
# itself makes are left out.)
set -eu
build=$1
jobs=${2:-2}
commands=$build/warnings.txt

# ninja knows the precompiled headers by their names.
headers=$(ninja -C "$build" -t targets all | sed -n 's/^\([^ ]*cmake_pch\.hxx\.[gp]ch\): .*/\1/p')
# shellcheck disable=SC2086 # one word for each header
[ -z "$headers" ] || ninja -C "$build" -j "$jobs" $headers >"$build/warnings.log" || {
    tail -n 60 "$build/warnings.log" >&2
    exit 1
}

sed -n 's/^  "command": "\(.*\)",$/\1/p' "$build/compile_commands.json" |
    grep -v "cmake_pch\.hxx\.cxx$" | grep -v " -c $(readlink -f "$build")/" |
    sed 's/\\"/"/g; s/\\\\/\\/g; s/ -o [^ ]* -c / -fsyntax-only /' >"$commands"
[ -s "$commands" ] || { echo "No commands in $build" >&2 && exit 1; }
cd "$build"
tr '\n' '\0' <warnings.txt | xargs -0 -n 1 -P "$jobs" sh -c
