#!/bin/sh
# messages.sh SOURCE - every message that docs/printing.md explains is one that the code says
#
# The tables of messages are made from the code (scripts/message_table.sh).  In the others the first
# column quotes them.  Words in capital letters, and "...", stand for what differs; what is between
# these has to be in the code.
set -eu
source=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Texts that stand on several lines in the code are joined.
find "$source/seam" "$source/programs" "$source/prepare" "$source/job" "$source/tools" \
    "$source/data/ps" -type f -regex '.*\.\(cpp\|h\|def\|ps\)\|.*/pdf_print-batch' | sort | xargs cat |
    tr -d '\n' |
    sed 's/" *"//g' >"$work/code"

sed -n '/^## In the print system/,$p' "$source/docs/printing.md" |
    sed '/^<!-- messages: made/,/^<!-- messages: end/d; /^| Asked for/,/^$/d' | sed -n 's/^| \(`[^|]*\) |.*/\1/p' |
    grep -o '`[^`]*`' | tr -d '`' |
    sed -E 's/(\.\.\.|\b(REASON|NAME|WHAT|N)\b)/\n/g' | sed 's/^[ .]*//; s/[ .:]*$//' | grep .... |
    sort -u >"$work/texts"

[ "$(wc -l <"$work/texts")" -ge 8 ] || {
    echo "The tables of messages cannot be read"
    exit 1
}
status=0
while IFS= read -r text; do
    grep -qaF -e "$text" "$work/code" && continue
    echo "No part of the code says: $text"
    status=1
done <"$work/texts"
exit $status
