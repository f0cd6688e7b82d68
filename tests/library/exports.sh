#!/bin/sh
# exports.sh LIBRARY - the dynamic symbols that a shared library defines are those of its header
set -eu
expected='pdf_to_ps::convert(pdf_to_ps::Input const&, pdf_to_ps::Output const&, pdf_to_ps::Options const&)
pdf_to_ps::version()'
found=$(nm -D --defined-only -C "$1" | sed -n 's/^[0-9a-f]* [B-Zb-z] //p' | sed 's/@@.*//' | sort)
if [ "$found" != "$expected" ]; then
    printf 'Exported:\n%s\n' "$found"
    exit 1
fi
readelf -d "$1" | grep -q 'SONAME.*\[libpdf_to_ps\.so\.[0-9][0-9]*\]'
