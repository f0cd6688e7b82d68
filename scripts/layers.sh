#!/bin/sh
# layers.sh - checks that a folder includes only what stands below it
set -eu
cd "$(dirname "$0")/.."

reader='(backread|containermemo|containers|filterlist|instance|lexer|objects|streams|textobjects|xref|zolak_class)'
status=0

# allow PATTERN FILE...: every project header that the files include matches the pattern.
allow() {
    pattern=$1
    shift
    bad=$(grep -HE '^#include "' "$@" | grep -vE "#include \"$pattern" || true)
    if [ -n "$bad" ]; then
        printf 'Included from a layer above:\n%s\n' "$bad"
        status=1
    fi
}

allow 'zelkov/' zelkov/*
allow '(zelkov|tools/compress1_[0-2])/' tools/compress1_*/*
allow '(zelkov|tools/zolak1_3/truetype)/' tools/zolak1_3/truetype/*.h tools/zolak1_3/truetype/*.cpp
# shellcheck disable=SC2046 # a list of files without blanks
allow "(zelkov/|tools/zolak1_3/pdf_to_ps/$reader\\.h)" \
    $(find tools/zolak1_3/pdf_to_ps | grep -E "/$reader\.(h|cpp)\$")
allow "(zelkov/|tools/compress1_|tools/zolak1_3/zolak_filter/|tools/zolak1_3/pdf_to_ps/$reader\\.h)" \
    tools/zolak1_3/zolak_filter/*.h tools/zolak1_3/zolak_filter/*.cpp
exit $status
