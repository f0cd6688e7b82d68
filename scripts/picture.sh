#!/bin/sh
# picture.sh [FILE.pdf [PAGE]] - makes docs/images/original_and_print.png: a page as a PDF renderer
# draws it, and beside it the print of the same page as a PostScript interpreter does
set -eu
cd "$(dirname "$0")/.."
. scripts/packages.sh
document=${1:-examples/tour.pdf} page=${2:-1} resolution=54
need_packages poppler-utils ghostscript python3-minimal
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

pdftoppm -r $resolution -f "$page" -l "$page" -singlefile "$document" "$work/original"
build/release/bin/pdf_print -q --pages="$page" -o "$work/print.ps" "$document"
gs -q -dSAFER -dBATCH -dNOPAUSE -dTextAlphaBits=4 -dGraphicsAlphaBits=4 -sDEVICE=ppmraw \
    -r$resolution -o "$work/print.ppm" "$work/print.ps"
mkdir -p docs/images
python3 - "$work/original.ppm" "$work/print.ppm" docs/images/original_and_print.png <<'END'
# Two pictures, framed, side by side.
import re, struct, sys, zlib

def rows(path):
    data = open(path, "rb").read()
    head = re.match(rb"P6\s(?:#.*\n)*(\d+)\s(\d+)\s255\s", data)
    width, height, at = int(head[1]), int(head[2]), head.end()
    line, grey = 3 * width, b"\x99\x99\x99"
    middle = [grey + data[at + y * line:at + (y + 1) * line] + grey for y in range(height)]
    return [grey * (width + 2)] + middle + [grey * (width + 2)]

def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

both = [left + b"\xff" * 36 + right for left, right in zip(rows(sys.argv[1]), rows(sys.argv[2]))]
head = struct.pack(">IIBBBBB", len(both[0]) // 3, len(both), 8, 2, 0, 0, 0)
with open(sys.argv[3], "wb") as png:
    png.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) +
              chunk(b"IDAT", zlib.compress(b"".join(b"\0" + row for row in both), 9)) +
              chunk(b"IEND", b""))
END
