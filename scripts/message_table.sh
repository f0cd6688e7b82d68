#!/bin/sh
# message_table.sh PROGRAM [--write] - holds the tables of docs/printing.md against the messages
#
# They stand between two marks and are what PROGRAM (message_table) prints; --write puts them there.
set -eu
program=$1
docs=$(dirname "$0")/../docs/printing.md
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$program" >"$work/table"
awk -v table="$work/table" '
    /^<!-- messages: end -->$/ { while ((getline line < table) > 0) print line; inside = 0 }
    !inside
    /^<!-- messages: / && !/end -->$/ { inside = 1 }' "$docs" >"$work/docs"
if [ "${2:-}" = --write ]; then
    cat "$work/docs" >"$docs"
elif ! diff -u "$docs" "$work/docs"; then
    echo "docs/printing.md does not tell what the table of messages says:" \
        "scripts/message_table.sh $program --write"
    exit 1
fi
