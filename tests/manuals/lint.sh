#!/bin/sh
# lint.sh PAGE... - mandoc finds nothing to say of the manual pages, not even of their style
set -eu
said=$(mandoc -T lint -W style "$@" 2>&1) || true
[ -z "$said" ] && exit
echo "$said"
exit 1
