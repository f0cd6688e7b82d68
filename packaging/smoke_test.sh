#!/bin/sh
# smoke_test.sh PACKAGES SOURCE [ROOT] - the packages, installed on a bare system and removed again
#
# Makes a small system with debootstrap (or takes a copy of ROOT, one that was made so), installs
# what cpack has left in the directory PACKAGES there, prints documents in it as a user without
# rights, and removes all.  Then no file is there that was not before.  Needs root and the network;
# MIRROR is where packages come from, when debootstrap's own place for them is not right.
set -eu
packages=$1 source=$2 root=${3:-}
names="pdf-to-ps libpdf-to-ps1 libpdf-to-ps-dev pdf-to-ps-cups"
work=$(mktemp -d)
system=$work/system

finish() {
    ! mountpoint -q "$system/proc" || umount "$system/proc"
    rm -rf --one-file-system "$work"
}
trap finish EXIT
trap 'exit 1' HUP INT TERM

fail() {
    echo "$*" >&2
    exit 1
}

inside() {
    chroot "$system" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C \
        DEBIAN_FRONTEND=noninteractive "$@"
}

# quietly COMMAND...: what it says is shown when it fails.
quietly() {
    "$@" >"$work/log" 2>&1 || {
        tail -n 40 "$work/log" >&2
        fail "This failed: $*"
    }
}

# All files, but for what package tools keep for themselves.
files() {
    (cd "$system" && find . -xdev \( -path ./proc -o -path ./tmp -o -path ./var/cache \
        -o -path ./var/log -o -path ./var/lib/apt -o -path ./var/lib/dpkg \) -prune -o -print) |
        grep -v '^\./etc/ld\.so\.cache$' | LC_ALL=C sort
}

if [ -n "$root" ]; then
    cp -a "$root" "$system"
else
    quietly debootstrap --variant=minbase bookworm "$system" ${MIRROR:+"$MIRROR"}
fi
mountpoint -q "$system/proc" || mount -t proc proc "$system/proc"

# What the packages need comes first, and stays: it is not ours.
for name in $names; do
    [ "$(find "$packages" -maxdepth 1 -name "${name}_*.deb" | wc -l)" -eq 1 ] ||
        fail "There is not one package $name in $packages"
    cp "$packages/${name}"_*.deb "$system/tmp/"
done
quietly inside apt-get update
needed=$(inside sh -c 'apt-get install -s --no-install-recommends /tmp/*.deb' |
    sed -n 's/^Inst \([^ ]*\) .*/\1/p' | grep -vxF "$(echo "$names" | tr ' ' '\n')")
# shellcheck disable=SC2086 # one word for each package
quietly inside apt-get install -y --no-install-recommends $needed qpdf
files >"$work/before"

quietly inside sh -c 'apt-get install -y --no-install-recommends /tmp/*.deb'

# A document as it is, and one that has to be prepared: as its objects are in streams.
mkdir -m 777 "$system/tmp/print"
cp "$source/examples/tour.pdf" "$system/tmp/print/plain.pdf"
quietly inside qpdf --object-streams=generate /tmp/print/plain.pdf /tmp/print/streams.pdf
pages=$(inside qpdf --show-npages /tmp/print/plain.pdf)
for document in plain streams; do
    quietly inside setpriv --reuid=nobody --regid=nogroup --clear-groups \
        pdf_print "/tmp/print/$document.pdf"
    [ "$(grep -ac '^%%Page:' "$system/tmp/print/$document.ps")" -eq "$pages" ] ||
        fail "$document.pdf is not printed whole"
done
quietly inside setpriv --reuid=nobody --regid=nogroup --clear-groups \
    pdf_to_ps /tmp/print/plain.pdf -OUTSPEC=/tmp/print/exact.ps
[ -s "$system/tmp/print/exact.ps" ] || fail "pdf_to_ps has written nothing"
inside ldconfig -p | grep -q 'libpdf_to_ps\.so\.1 ' || fail "The library is not found"
inside test -x /usr/lib/cups/filter/pdf_to_ps-cups || fail "The filter is not where it belongs"
quietly inside /usr/lib/cups/filter/pdf_to_ps-cups 1 nobody title 1 "" /tmp/print/streams.pdf
[ "$(grep -ac '^%%Page:' "$work/log")" -eq "$pages" ] || fail "The filter does not print all pages"

# shellcheck disable=SC2086
quietly inside apt-get purge -y $names
files >"$work/after"
if ! diff "$work/before" "$work/after" >"$work/differences"; then
    cat "$work/differences" >&2
    fail "Removal does not leave the system as it was"
fi
echo "Installed, printed, removed: $names"
