#!/bin/sh
# tripwires.sh - runs jobs of documents between tripwires
#
#   scripts/tripwires.sh [-m "MODE..."] [-p PAGES] PROGRAMS DOCUMENT|FOLDER...
#
# Makes jobs of the documents (of all *.pdf below a folder) with the programs in the directory
# PROGRAMS, in each mode: ascii binary plain level2 eps filter (all, when -m is not given), of
# the first two pages (-p LIST, "all"), and runs each in Ghostscript behind
# tests/postscript/tripwires.ps.  Whoever does what no job has to do, leaves a file, does not come to
# its end, or takes longer than two minutes is listed; the last lines count jobs by mode.  Status 1: there was
# something.
set -eu
modes="ascii binary plain level2 eps filter"
pages=1-2
while getopts m:p: option; do
    case $option in
    m) modes=$OPTARG ;;
    p) pages=$OPTARG ;;
    *) exit 2 ;;
    esac
done
shift $((OPTIND - 1))
prelude=$(cd "$(dirname "$0")/.." && pwd)/tests/postscript/tripwires.ps
programs=$(cd "$1" && pwd)
shift
work=$(mktemp -d "${TMPDIR:-/tmp}/tripwires.XXXXXX")
trap 'rm -rf "$work"' EXIT
[ "$pages" != all ] || pages=1-

# job MODE DOCUMENT: the job on standard output
job() {
    case $1 in
    ascii) "$programs/pdf_print" -q --pages="$pages" -o - "$2" ;;
    binary) "$programs/pdf_print" -q --pages="$pages" --binary -o - "$2" ;;
    plain) "$programs/pdf_print" -q --pages="$pages" --binary --no-compress -o - "$2" ;;
    level2) "$programs/pdf_print" -q --pages="$pages" --level=2 -o - "$2" ;;
    eps) "$programs/pdf_print" -q --pages=1 --eps -o - "$2" ;;
    filter) "$programs/pdf_to_ps-cups" 1 someone title 1 "page-ranges=$pages" "$2" ;;
    *) echo "tripwires.sh: no such mode: $1" >&2 && exit 2 ;;
    esac 2>/dev/null
}

: >"$work/counts"
# shellcheck disable=SC2044 # names of documents have no line ends
find "$@" -name '*.pdf' | sort | while IFS= read -r document; do
    for mode in $modes; do
        job "$mode" "$document" >"$work/job.ps" || :
        if [ ! -s "$work/job.ps" ]; then
            echo "$mode none" >>"$work/counts"
            continue
        fi
        printf '\nTripwire:Report\n' >>"$work/job.ps"
        mkdir "$work/here"
        (cd "$work/here" && TMPDIR=$work/here HOME=$work/here timeout -k 5 120 gs -q -dNOSAFER -dNOEPS \
            -dWRITESYSTEMDICT -dBATCH -dNOPAUSE -sDEVICE=ppmraw -r18 -sOutputFile=/dev/null "$prelude" \
            "$work/job.ps" >"$work/said" 2>&1 </dev/null) || :
        if grep -aqF '%%[ TRIPWIRES: 0 ]%%' "$work/said" && [ -z "$(ls -A "$work/here")" ]; then
            echo "$mode silent" >>"$work/counts"
        else
            echo "$mode shouting" >>"$work/counts"
            echo "$mode $document: $(grep -aE '^%%\[ TRIP|rror' "$work/said" | tr '\n' ' ' | cut -c1-300)" \
                "$(ls -A "$work/here" | tr '\n' ' ')"
        fi
        rm -rf "$work/here"
    done
done
for mode in $modes; do
    awk -v mode="$mode" '$1 == mode { count[$2]++ }
        END { printf "%-8s%6d silent%6d shouting%6d without a job\n", mode, count["silent"], count["shouting"],
              count["none"] }' "$work/counts"
done
! grep -q shouting "$work/counts"
