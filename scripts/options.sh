#!/bin/sh
# options.sh [--check] OPTION_TEXTS - writes what is made of the table of options (seam/options.def)
#
# OPTION_TEXTS is the program of that name, from a build: manual pages have their section OPTIONS
# between two marks, pdf_print-batch its help and the names of its options; the completions are
# files of their own.  With --check nothing is written: the status is 1, and a line says what
# differs.
set -eu
check=''
if [ "$1" = --check ]; then
    check=yes
    shift
fi
texts=$(readlink -f -- "$1")
cd "$(dirname "$0")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0

# settle FILE: what has been made is what stands in the file, or takes its place.
settle() {
    cmp -s "$work/new" "$1" && return
    if [ -n "$check" ]; then
        echo "$1 differs from seam/options.def; scripts/options.sh writes it anew"
        status=1
    else
        cat "$work/new" >"$1"
        echo "$1"
    fi
}

# between FILE: the part of a file between the marks becomes what has been made.
between() {
    awk -v part="$work/part" '
        /scripts\/options.sh writes this:/ {
            print
            while ((getline line <part) > 0)
                print line
            inside = 1
            marks++
        }
        /scripts\/options.sh: end/ { inside = 0; marks++ }
        !inside && !/scripts\/options.sh writes this:/ { print }
        END { exit marks != 2 }' "$1" >"$work/new" || {
        echo "$1 lacks the marks of scripts/options.sh"
        exit 1
    }
    settle "$1"
}

for name in pdf_print pdf_prepare pdf_print-preview pdf_print-batch; do
    "$texts" manual $name >"$work/part"
    between man/$name.1
    "$texts" bash $name >"$work/new"
    settle completion/$name.bash
    "$texts" zsh $name >"$work/new"
    settle completion/_$name
done
"$texts" shell pdf_print-batch >"$work/part"
between programs/pdf_print-batch/pdf_print-batch
exit $status
