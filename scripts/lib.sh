# Shared by the scripts of this folder: paths, messages, builds, Wine.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)

say() { printf '== %s\n' "$*"; }
die() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}

# build_preset PRESET [CMAKE-OPTION...]: configures and builds it, and prints only warnings and errors.
build_preset() {
    local preset=$1
    shift
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$jobs" "$@" | (grep -v '^\[' || true)
}

. "$root/scripts/packages.sh"
. "$root/scripts/emulation.sh"

# start_wine [win32|win64]: creates a Wine prefix for the calling script, which is removed when the script
# ends. The default is $WINEARCH, or win32. A 64-bit prefix runs programs of both word sizes. A small
# process keeps the prefix's services running, so that later programs start quickly and the services do
# not inherit a test's pipes.
start_wine() {
    WINEPREFIX=$(mktemp -d "${TMPDIR:-/tmp}/nyx-wine.XXXXXX")
    export WINEPREFIX WINEARCH=${1:-${WINEARCH:-win32}} WINEDEBUG=${WINEDEBUG:--all}
    export LC_ALL=C.UTF-8 # file names outside ASCII
    # The plain command starts the 32-bit system programs, also in a 64-bit prefix. A link does not work:
    # the loader depends on the name that it is called by.
    local loader=/usr/lib/wine/wine
    [ "$WINEARCH" = win32 ] || loader=${loader}64
    mkdir "$WINEPREFIX/bin"
    printf '#!/bin/sh\nexec %s "$@"\n' "$loader" >"$WINEPREFIX/bin/wine"
    chmod +x "$WINEPREFIX/bin/wine"
    PATH=$WINEPREFIX/bin:$PATH
    # Mono, Gecko, menu entries and sound drivers are not needed. With a debugger a crashed program may
    # exit with 0.
    export WINEDLLOVERRIDES='mscoree=;mshtml=;winemenubuilder.exe=;winealsa.drv=;winepulse.drv=;winedbg.exe='
    use_emulation
    start_display
    trap stop_wine EXIT
    say "Wine: a fresh ${WINEARCH#win}-bit prefix"
    wine wineboot --init >/dev/null 2>&1 </dev/null || die "Wine cannot create its prefix"
    wine cmd /c pause >/dev/null 2>&1 < <(exec sleep 86400) &
    wine_keepalive=$!
}

# Property pages need a display: the caller's, or a private Xvfb.
start_display() {
    [ -z "${DISPLAY:-}" ] || return 0
    command -v Xvfb >/dev/null || die "Xvfb is missing: run scripts/setup"
    local fifo
    fifo=$(mktemp -u "${TMPDIR:-/tmp}/nyx-display.XXXXXX")
    mkfifo "$fifo"
    Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$fifo" >/dev/null 2>&1 &
    xvfb_pid=$!
    local number
    read -r number <"$fifo"
    rm -f "$fifo"
    export DISPLAY=":$number"
}

stop_wine() {
    local status=$?
    set +e
    [ -z "${wine_keepalive:-}" ] || { pkill -P "$wine_keepalive"; kill "$wine_keepalive"; } 2>/dev/null
    wineserver -k 2>/dev/null
    wineserver -w 2>/dev/null
    [ -z "${xvfb_pid:-}" ] || kill "$xvfb_pid" 2>/dev/null
    rm -rf "$WINEPREFIX"
    exit "$status"
}
