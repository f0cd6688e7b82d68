#!/bin/sh
# fuzz.sh [SECONDS] - runs every fuzz target for that long, one minute by default
#
# What a target finds stands in build/fuzz; a finding ends the script with status 1.  The new
# inputs are kept in build/fuzz/corpus for the next run; the seeds in fuzz/seeds stay as they are.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-60}

mkdir -p build
if ! { cmake --preset fuzz && cmake --build --preset fuzz; } >build/fuzz.log 2>&1; then
    tail -n 60 build/fuzz.log >&2
    exit 1
fi

status=0
for program in build/fuzz/bin/fuzz_*; do
    name=$(basename "$program")
    corpus=build/fuzz/corpus/$name
    mkdir -p "$corpus"
    dictionary=
    [ -f "fuzz/$name.dict" ] && dictionary=-dict=fuzz/$name.dict
    log=build/fuzz/$name.log
    # shellcheck disable=SC2086 # no dictionary is no argument
    if "$program" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
        -artifact_prefix=build/fuzz/"$name"- $dictionary \
        "$corpus" "fuzz/seeds/$name" >"$log" 2>&1; then
        printf '%-20s %s\n' "$name" "$(grep '^Done' "$log")"
    else
        printf '%-20s found:\n' "$name"
        tail -n 20 "$log"
        status=1
    fi
done
exit $status
