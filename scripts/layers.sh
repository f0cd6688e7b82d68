#!/bin/sh
# layers.sh - checks that a folder includes only what stands below it
#
# One row for each folder: its name, then the folders that its files may include from, itself aside.
set -eu
cd "$(dirname "$0")/.."

table='
seam
zelkov
tools/compress1_0                zelkov
tools/compress1_1                zelkov tools/compress1_0
tools/compress1_2                zelkov tools/compress1_0
tools/zolak1_3/truetype          zelkov
tools/zolak1_3/pdf_to_ps/reader  zelkov
tools/zolak1_3/zolak_filter      zelkov tools/compress1_0 tools/compress1_1 tools/compress1_2 tools/zolak1_3/pdf_to_ps/reader
tools/zolak1_3/pdf_to_ps/writer  zelkov tools/zolak1_3/truetype tools/zolak1_3/pdf_to_ps/reader tools/zolak1_3/zolak_filter
tools/zolak1_3/pdf_to_ps/frame   zelkov tools/zolak1_3/pdf_to_ps/reader tools/zolak1_3/pdf_to_ps/writer
library                          zelkov tools/zolak1_3/pdf_to_ps/frame pdf_to_ps
prepare/model
prepare/document                 seam prepare/model
prepare/content                  seam prepare/model prepare/document
prepare/fonts                    seam prepare/model prepare/document prepare/content
prepare/colour                   seam prepare/model prepare/document prepare/content
prepare/images                   seam prepare/model prepare/document prepare/content prepare/colour
prepare/page                     seam prepare/model prepare/document prepare/content prepare/fonts prepare/colour prepare/images
prepare/paint                    seam prepare/model prepare/document prepare/content prepare/fonts prepare/colour prepare/images prepare/page
prepare/canonical                seam prepare/model prepare/document prepare/content prepare/fonts prepare/colour prepare/images prepare/page
prepare/cryptography
programs/preparing               seam prepare prepare/document prepare/paint programs/printing
prepare                          seam prepare/model prepare/document prepare/content prepare/fonts prepare/colour prepare/images prepare/page prepare/paint prepare/canonical tools/zolak1_3/pdf_to_ps/reader
job                              seam zelkov tools/zolak1_3/pdf_to_ps/reader tools/zolak1_3/pdf_to_ps/writer tools/zolak1_3/pdf_to_ps/frame
programs/printing                seam zelkov job
programs/pdf_print               seam zelkov job programs/printing programs/preparing
programs/pdf_print-ppd           -
programs/pdf_print-preview       seam zelkov programs/printing
programs/pdf_to_ps-cups          seam zelkov job programs/printing
'

status=0

# Every folder with sources has its row.
for folder in $(find seam zelkov tools library prepare job programs -name '*.cpp' -o -name '*.h' | sed 's|/[^/]*$||' | sort -u); do
    if ! printf '%s\n' "$table" | grep -q "^$folder\( \|$\)"; then
        echo "Not in the table of layers: $folder"
        status=1
    fi
done

# Every include of ours leads to the folder itself or to one of its row.
while read -r folder allowed; do
    [ -n "$folder" ] || continue
    pattern=$folder
    for below in $allowed; do
        pattern="$pattern|$below"
    done
    bad=$(grep -sHE '^#include "' "$folder"/*.h "$folder"/*.cpp | grep -vE "#include \"($pattern)/[^/\"]*\"" || true)
    if [ -n "$bad" ]; then
        printf 'Not below %s:\n%s\n' "$folder" "$bad"
        status=1
    fi
done <<END
$table
END
# What belongs to the process is the business of main functions and the command line.
bad=$(grep -rlE '^#include "zelkov/(process|cmdline)\.h"' zelkov tools | grep -vE '/main\.cpp$|^zelkov/(process|cmdline)\.cpp$' || true)
if [ -n "$bad" ]; then
    printf 'Not a main function, and includes what is for one:\n%s\n' "$bad"
    status=1
fi
exit $status
