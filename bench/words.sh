#!/bin/sh
# words.sh BIN FILE.pdf... - how much of the text survives: the words that pdftotext finds in the
# original, and how many of them it finds behind pdf_prepare, pdf_to_ps and ps2pdf
#
# BIN is the folder of the programs.  One line for each file, and the totals.  Files that are not
# converted, or have no text, do not count.
set -eu
bin=$1
shift
pages=${PAGES:-5}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# The words of a PDF file's first pages, one in a line, sorted.
words() {
    pdftotext -q -l "$pages" "$1" - 2>/dev/null | tr -s '[:space:]\f' '\n' | grep . | LC_ALL=C sort
}

all=0
kept=0
for file in "$@"; do
    if ! "$bin/pdf_prepare" --pages="1-$pages" "$file" "$scratch/p.pdf" 2>/dev/null ||
        ! "$bin/pdf_to_ps" "$scratch/p.pdf" "-OUTSPEC=$scratch/p.ps" >/dev/null 2>&1 ||
        ! timeout 120 ps2pdf "$scratch/p.ps" "$scratch/q.pdf" >/dev/null 2>&1; then
        continue
    fi
    words "$file" >"$scratch/original" || continue
    words "$scratch/q.pdf" >"$scratch/printed" || :
    n=$(wc -l <"$scratch/original")
    same=$(LC_ALL=C comm -12 "$scratch/original" "$scratch/printed" | wc -l)
    all=$((all + n))
    kept=$((kept + same))
    printf '%-48s %7d of %7d\n' "$(basename "$file")" "$same" "$n"
done
[ "$all" -eq 0 ] || awk "BEGIN { printf \"words kept: %d of %d, %.1f %%\\n\", $kept, $all, 100 * $kept / $all }"
