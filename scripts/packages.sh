# packages.sh - sourced by ./run and ./check: installs the Debian packages that are missing
#
# need_packages NAME...   does nothing when all are there

need_packages() {
    missing=
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
            missing="$missing $package"
    done
    [ -n "$missing" ] || return 0
    if ! command -v apt-get >/dev/null; then
        echo "These packages are needed and cannot be installed here:$missing" >&2
        return 1
    fi
    as_root=
    [ "$(id -u)" -eq 0 ] || as_root=sudo
    echo "Installing:$missing" >&2
    $as_root apt-get update -qq >&2
    # shellcheck disable=SC2086 # one word for each package
    $as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends $missing >&2
}
