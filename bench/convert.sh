#!/bin/sh
# convert.sh - speed and memory of whole conversions, each beside its measure, in one run
#
#   bench/convert.sh BIN [FOLDER]   BIN holds pdf_to_ps and make_pdf; FOLDER has 3 GB of room
#
# Copying:  300 MB in 30 streams, against cp --reflink=never; the median of five.
# Pages:    100,000 pages with streams of 2 KB, against 10,000.
# Memory:   the peak on a file of 1 GiB with 1,000 pages.
set -eu
bin=$(cd "$1" && pwd)
work=$(mktemp -d "${2:-${TMPDIR:-/tmp}}/bench.XXXXXX")
trap 'rm -rf "$work"' EXIT
cd "$work"

# seconds COMMAND...: how long it takes
seconds() {
    start=$(date +%s.%N)
    "$@" >/dev/null 2>&1
    end=$(date +%s.%N)
    echo "$end - $start" | bc
}

median() { sort -n | sed -n 3p; }

convert() { "$bin/pdf_to_ps" "$1" -OUTSPEC=out.ps; }

"$bin/make_pdf" copy.pdf 30 10485760
cat copy.pdf >/dev/null
: >cp.times
: >convert.times
for _ in 1 2 3 4 5; do
    seconds cp --reflink=never copy.pdf copied >>cp.times
    seconds convert copy.pdf >>convert.times
done
cp_time=$(median <cp.times)
convert_time=$(median <convert.times)
echo "copying 300 MB: pdf_to_ps $convert_time s, cp $cp_time s," \
    "ratio $(echo "scale=2; $convert_time / $cp_time" | bc) (at most 1.5)"
rm -f copy.pdf copied out.ps

for pages in 10000 100000; do
    "$bin/make_pdf" "$pages.pdf" "$pages" 2048
    : >"$pages.times"
    for _ in 1 2 3 4 5; do
        seconds convert "$pages.pdf" >>"$pages.times"
    done
done
few=$(median <10000.times)
many=$(median <100000.times)
echo "pages: 100,000 in $many s, 10,000 in $few s," \
    "ratio $(echo "scale=1; $many / $few" | bc) (at most 10)"
rm -f ./*.pdf out.ps

"$bin/make_pdf" large.pdf 1000 1072668
peak=$(LC_ALL=C /usr/bin/time -f %M "$bin/pdf_to_ps" large.pdf -OUTSPEC=out.ps 2>&1 >/dev/null | tail -n 1)
echo "memory: $peak KiB at its peak for $(stat -c %s large.pdf) bytes, 2,003 objects" \
    "(at most 16,400)"
