# Both word sizes side by side, held against each other: used by scripts/demo. Needs clips.sh, $work, and
# a running Wine of 64 bits.

presets=(win32 win64)

# What both have decoded alike.
pictures_alike=0
bytes_alike=0

# Runs a command with the nyxhost of a word size and with its engines on the search path, the open ones first.
by() { # win32|win64 COMMAND...
    local built=$root/build/$1
    nyxhost=$built/bin/nyxhost.exe engines=$built/engines/standin \
        WINEPATH="$(windows_path "$built/engines/open");$(windows_path "$built/engines/standin")" "${@:2}"
}

register_both() { # MODULE...: one program of the system registers the modules of either size
    local preset module
    for preset in "${presets[@]}"; do
        for module in "$@"; do
            wine regsvr32 /s "$(windows_path "$root/build/$preset/bin/$module.dll")" </dev/null ||
                die "regsvr32 could not register the $preset $module.dll"
        done
    done
}

# Runs nyxhost decode in both sizes at once, each in its folder $work/PRESET, where it leaves its files; they
# must be the same byte for byte. Sets $pictures, their number.
decode_alike() { # CLIP OPTION...
    local preset runs=()
    for preset in "${presets[@]}"; do
        rm -rf "${work:?}/$preset"
        mkdir "$work/$preset"
        (cd "$work/$preset" && by "$preset" run_nyxhost decode "$@") >"$work/$preset.said" 2>&1 &
        runs+=($!)
    done
    for preset in "${presets[@]}"; do
        wait "${runs[0]}" || die "nyxhost of $preset ended with $? at $1: $(cat "$work/$preset.said")"
        runs=("${runs[@]:1}")
    done
    diff -rq "$work/win32" "$work/win64" >&2 || die "32 and 64 bits decode differently: $*"
    pictures=$(sed -n 's/^\([0-9]*\) frames in .*/\1/p' "$work/win32.said")
    pictures_alike=$((pictures_alike + pictures))
    bytes_alike=$((bytes_alike + $(cat "$work"/win32/* | wc -c)))
}
