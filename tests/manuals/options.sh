#!/bin/sh
# options.sh SOURCE NAME PROGRAM - every option that NAME --help tells of is in its manual page and,
# where it has them, in its completions; and these know no other
set -eu
source=$1 name=$2 program=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The long options in what is read, but for comments, one on a line.
long_options() {
    grep -v '^ *#' | grep -oE -e '--[a-z][a-z-]*[a-z]' | sort -u
}

"$program" --help | long_options >"$work/help"
if ! [ -s "$work/help" ]; then
    echo "$name --help tells of no options"
    exit 1
fi

# same FILE PLACE: the options in FILE are those of the help.
same() {
    long_options <"$1" >"$work/found"
    if ! diff "$work/help" "$work/found" >"$work/differences"; then
        echo "$2 differs from $name --help (<: lacks, >: has in addition):"
        cat "$work/differences"
        exit 1
    fi
}

mandoc -T ascii -O width=200 "$source/man/$name.1" | sed "s/.$(printf '\b')//g" >"$work/page"
same "$work/page" "man/$name.1"
for completion in "$source/completion/$name.bash" "$source/completion/_$name"; do
    [ ! -f "$completion" ] || same "$completion" "${completion#"$source"/}"
done
