#!/bin/sh
# prepare.sh BIN FILE.pdf... - speed of pdf_prepare, each beside its measure, in one run
#
# BIN holds pdf_prepare and pdf_to_ps.  For each file, the best of five:
#   qpdf, object streams off, data as it stands: what rewriting the structure alone costs
#   pdf_prepare, all passes (at most 3 times that)
#   pdf_prepare and pdf_to_ps together, against pdftops
# At the end: the sums, and the medians of the quotients.  Files that one of the programs does not
# take do not count.
set -eu
bin=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# best COMMAND...: the shortest time of five, in seconds; fails when the command does
best() {
    least=
    for _ in 1 2 3 4 5; do
        start=$(date +%s.%N)
        "$@" >/dev/null 2>&1 || return 1
        end=$(date +%s.%N)
        least=$(awk "BEGIN { t = $end - $start; l = \"$least\"; print (l == \"\" || t < l) ? t : l }")
    done
    echo "$least"
}

structure() { qpdf --object-streams=disable --stream-data=preserve --decrypt "$1" "$work/q.pdf"; }
prepare() { "$bin/pdf_prepare" "$1" "$work/p.pdf"; }
both() { prepare "$1" && "$bin/pdf_to_ps" "$work/p.pdf" "-OUTSPEC=$work/p.ps"; }
pdftops_() { pdftops "$1" "$work/t.ps"; }

: >"$work/times"
for file in "$@"; do
    q=$(best structure "$file") && p=$(best prepare "$file") && b=$(best both "$file") &&
        t=$(best pdftops_ "$file") || continue
    echo "$q $p $b $t" >>"$work/times"
    printf '%-40s qpdf %.3f  pdf_prepare %.3f  with pdf_to_ps %.3f  pdftops %.3f\n' \
        "$(basename "$file")" "$q" "$p" "$b" "$t"
done

median() { sort -n | awk '{ v[NR] = $1 } END { print NR ? v[int((NR + 1) / 2)] : "-" }'; }

awk '{ q += $1; p += $2; b += $3; t += $4 }
    END { printf "sums: qpdf %.2f s, pdf_prepare %.2f s, with pdf_to_ps %.2f s, pdftops %.2f s\n", q, p, b, t }' \
    "$work/times"
echo "median of pdf_prepare / qpdf: $(awk '{ print $2 / $1 }' "$work/times" | median)"
echo "median of (pdf_prepare + pdf_to_ps) / pdftops: $(awk '{ print $3 / $4 }' "$work/times" | median)"
