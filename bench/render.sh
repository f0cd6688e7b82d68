#!/bin/sh
# render.sh - how long Ghostscript takes for our output and for that of poppler's pdftops
#
#   bench/render.sh PROGRAM FILE.pdf|FOLDER...
#
# PROGRAM is pdf_to_ps.  Each file is converted by both; the two results are rendered in turn, five
# times each after one run that does not count, and the medians of both are divided.  The last line
# has the median of these ratios over all files (at most 1.3 for documents that are mostly text).
# Files that one of the two cannot convert, or Ghostscript not render, are left out.
set -eu
program=$(realpath "$1")
shift
work=$(mktemp -d "${TMPDIR:-/tmp}/render.XXXXXX")
trap 'rm -rf "$work"' EXIT

draw() {
    gs -q -dBATCH -dNOPAUSE -dSAFER -sDEVICE=ppmraw -r72 -o /dev/null "$1" </dev/null >/dev/null 2>&1
}

# microseconds FILE: how long it takes to draw
microseconds() {
    start=$(date +%s%N)
    draw "$1"
    echo $((($(date +%s%N) - start) / 1000))
}

median() {
    sort -n "$1" |
        awk '{ v[NR] = $1 } END { print (v[int((NR + 1) / 2)] + v[int(NR / 2) + 1]) / 2 }'
}

printf '%8s %8s %6s  %s\n' 'ours/ms' 'other/ms' ratio file
find -L "$@" -name '*.pdf' | sort | while read -r pdf; do
    "$program" "$pdf" "-OUTSPEC=$work/ours.ps" >/dev/null 2>&1 || continue
    pdftops "$pdf" "$work/other.ps" >/dev/null 2>&1 || continue
    draw "$work/ours.ps" || continue
    draw "$work/other.ps" || continue
    : >"$work/ours"
    : >"$work/other"
    for _ in 1 2 3 4 5; do
        microseconds "$work/ours.ps" >>"$work/ours"
        microseconds "$work/other.ps" >>"$work/other"
    done
    ours=$(median "$work/ours")
    other=$(median "$work/other")
    echo "$ours $other" | awk '{ print $1 / $2 }' >>"$work/ratios"
    echo "$ours $other" |
        awk '{ printf "%8.1f %8.1f %6.2f  ", $1 / 1000, $2 / 1000, $1 / $2 }'
    echo "$pdf"
done
echo "files: $(wc -l <"$work/ratios"), median of the ratios: $(median "$work/ratios")"
