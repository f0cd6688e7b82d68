# tree.sh - sourced by the tests of this folder: a tree of documents, and whether each is printed
#
# Uses $examples and $work.

# make_tree COUNT
make_tree() {
    for number in $(seq "$1"); do
        mkdir -p "$work/in/sub $((number % 7))"
        cp "$examples/tour.pdf" "$work/in/sub $((number % 7))/document $number.pdf"
    done
}

fail() {
    echo "$1"
    exit 1
}

done_count() {
    find "$work/out/.pdf_print-batch" -path '*/records/*.jsonl' | wc -l
}

# check_tree COUNT: each document is told of once, each output is whole, and nothing else is there.
check_tree() {
    pdf_print-batch -o "$work/out" --end --jsonl "$work/report" || fail "Not all is printed"
    [ "$(wc -l <"$work/report")" -eq "$1" ] || fail "The report has $(wc -l <"$work/report") lines"
    sed 's/^{"file":"\(.*\)","status":0,"pages":4,.*/\1/' "$work/report" | sort >"$work/told"
    (cd "$work" && find "$work/in" -name '*.pdf') | sort >"$work/wanted"
    cmp "$work/wanted" "$work/told" || fail "Not every document is told of once"
    (cd "$work/out" && find . -name .pdf_print-batch -prune -o -type f -print) >"$work/outputs"
    [ "$(wc -l <"$work/outputs")" -eq "$1" ] || fail "There are $(wc -l <"$work/outputs") outputs"
    (cd "$work/out" && find . -name '*.ps' -exec tail -q -n 1 {} +) | sort -u >"$work/ends"
    [ "$(cat "$work/ends")" = '%%EOF' ] || fail "An output is not whole"
}
