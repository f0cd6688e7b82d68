#!/bin/sh
# converter_keys.sh SOURCE - what the converter warns of is in the table of messages, key by key
#
# Warnings and faults only: an error is an error, and information is a detail.
set -eu
source=$1
status=0
keys=$(find "$source/tools" "$source/job" -name '*.cpp' | sort | xargs cat | tr -d '\n' |
    grep -oE 'SEVERITY_(WARNING|FAULT), *"[A-Za-z]*"' | sed -E 's/SEVERITY_([A-Z]*), *"(.*)"/\2 \1/' | sort -u)
[ "$(printf '%s\n' "$keys" | wc -l)" -ge 8 ] || {
    echo "The converter's keys cannot be read"
    exit 1
}
while read -r key severity; do
    grep -qE "^CONVERTER\(\"$key\", $severity, [A-Z]+," "$source/seam/messages.def" && continue
    echo "seam/messages.def does not say what this is: $key $severity"
    status=1
done <<END
$keys
TTFONT FAULT
FILTER FAULT
BADFLATE FAULT
END
exit $status
