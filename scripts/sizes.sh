# Runs nyxhost in both word sizes and compares the results: used by scripts/demo. Needs clips.sh, $work and
# a running 64-bit Wine.

presets=(win32 win64)

# Totals of what both decoded alike.
pictures_alike=0
bytes_alike=0

# Runs a command with one word size's nyxhost, and its engines on the search path, the open ones first.
by() { # win32|win64 COMMAND...
    local built=$root/build/$1
    nyxhost=$built/bin/nyxhost.exe engines=$built/engines/standin \
        WINEPATH="$(windows_path "$built/engines/open");$(windows_path "$built/engines/standin")" "${@:2}"
}

register_both() { # MODULE...: the system's regsvr32 registers modules of both word sizes
    local preset module
    for preset in "${presets[@]}"; do
        for module in "$@"; do
            wine regsvr32 /s "$(windows_path "$root/build/$preset/bin/$module.dll")" </dev/null ||
                die "regsvr32 cannot register $module.dll of $preset"
        done
    done
}

# Runs nyxhost decode in both word sizes in parallel, each in its folder $work/PRESET. Their output files must
# be equal. Sets $pictures, their number.
decode_alike() { # CLIP OPTION...
    local preset runs=()
    for preset in "${presets[@]}"; do
        rm -rf "${work:?}/$preset"
        mkdir "$work/$preset"
        (cd "$work/$preset" && by "$preset" run_nyxhost decode "$@") >"$work/$preset.said" 2>&1 &
        runs+=($!)
    done
    for preset in "${presets[@]}"; do
        wait "${runs[0]}" || die "nyxhost of $preset exited with $? for $1: $(cat "$work/$preset.said")"
        runs=("${runs[@]:1}")
    done
    diff -rq "$work/win32" "$work/win64" >&2 || die "32 and 64 bits decode differently: $*"
    pictures=$(sed -n 's/^\([0-9]*\) frames in .*/\1/p' "$work/win32.said")
    pictures_alike=$((pictures_alike + pictures))
    bytes_alike=$((bytes_alike + $(cat "$work"/win32/* | wc -c)))
}
