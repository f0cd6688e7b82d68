#!/bin/sh
# page_list_test.sh PROGRAM - the example document under the prolog that lists pages
set -eu
program=$1
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
: >nothing.ps
"$program" "$here/tour.pdf" "-PROLOG=$here/page_list" -TRAILER=./nothing -OUTSPEC=list.ps 2>messages
gs -q -dSAFER -dNODISPLAY -dBATCH list.ps >listed
cat >expected <<END
page 1: [ 612 792 ] 
page 2: [ 612 792 ] 
page 3: [ 612 792 ] 
page 4: [ 612 792 ] 
END
diff expected listed
