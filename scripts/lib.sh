# Shared by the scripts of this folder: where things are, how they speak, how Wine is started.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)

say() { printf '== %s\n' "$*"; }
die() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}

# build_preset PRESET [CMAKE-OPTION...]: configures and builds it, quiet but for what went wrong.
build_preset() {
    local preset=$1
    shift
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$jobs" "$@" | (grep -v '^\[' || true)
}

. "$root/scripts/packages.sh"
. "$root/scripts/emulation.sh"

# start_wine [win32|win64]: a Wine prefix of its own for the calling script, removed when the script
# ends; of the caller's kind where none is named. One of 64 bits runs programs of both sizes. The small
# keep-alive process keeps the prefix's service processes up, so that each following start is quick
# and no test inherits their pipes.
start_wine() {
    WINEPREFIX=$(mktemp -d "${TMPDIR:-/tmp}/nyx-wine.XXXXXX")
    export WINEPREFIX WINEARCH=${1:-${WINEARCH:-win32}} WINEDEBUG=${WINEDEBUG:--all}
    # The plain command starts with 32 bits, also in a prefix of 64, and takes the system's own programs
    # of that size. A link would not do: the loader goes by the name it is called by.
    local loader=/usr/lib/wine/wine
    [ "$WINEARCH" = win32 ] || loader=${loader}64
    mkdir "$WINEPREFIX/bin"
    printf '#!/bin/sh\nexec %s "$@"\n' "$loader" >"$WINEPREFIX/bin/wine"
    chmod +x "$WINEPREFIX/bin/wine"
    PATH=$WINEPREFIX/bin:$PATH
    # No Mono or Gecko, menu entries or sound: nothing here needs them. No debugger: with it a crashed
    # program may end with 0.
    export WINEDLLOVERRIDES='mscoree=;mshtml=;winemenubuilder.exe=;winealsa.drv=;winepulse.drv=;winedbg.exe='
    use_emulation
    start_display
    trap stop_wine EXIT
    say "Wine: a fresh ${WINEARCH#win}-bit prefix"
    wine wineboot --init >/dev/null 2>&1 </dev/null || die "Wine could not make its prefix"
    wine cmd /c pause >/dev/null 2>&1 < <(exec sleep 86400) &
    wine_keepalive=$!
}

# Property pages need a display; without one of the caller's, a private Xvfb serves.
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
