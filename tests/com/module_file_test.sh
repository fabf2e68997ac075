#!/usr/bin/env bash
# module_file_test.sh OBJDUMP NYXCODECS.DLL: what a host can read from the file alone. Ends with the number of
# failures.
set -euo pipefail
objdump=$1
module=$2
export LC_ALL=C
headers=$("$objdump" -p "$module")
failures=0

# expect WHAT ACTUAL EXPECTED
expect() {
    [ "$2" = "$3" ] && return
    failures=$((failures + 1))
    printf 'FAILED: %s: %s, not %s\n' "$1" "${2:-nothing}" "$3"
}

# The entry point may be exported as well.
expect "the exported names" \
    "$(sed -n '/Name Pointer\] Table/,/^$/s/^\t\[.*\] //p' <<<"$headers" | grep -v '^DllMain$' | sort | xargs)" \
    "DllCanUnloadNow DllGetClassObject DllRegisterServer DllUnregisterServer"

system=" advapi32 comctl32 gdi32 kernel32 msvcrt ole32 oleaut32 psapi user32 version winmm "
imports=$(sed -n 's/^\tDLL Name: \(.*\)\.dll$/\1/Ip' <<<"$headers" | tr A-Z a-z)
for import in ${imports:-none}; do
    expect "whether $import is the system's" "$([[ $system != *" $import "* ]] || echo yes)" yes
done

# It may be loaded anywhere, in 64 bits all over the address space, and is hardened.
far=
grep -q 'pei-x86-64' <<<"$headers" && far="HIGH_ENTROPY_VA "
expect "what the loader may do" "$(grep -oE 'HIGH_ENTROPY_VA|DYNAMIC_BASE|NX_COMPAT' <<<"$headers" | xargs)" \
    "${far}DYNAMIC_BASE NX_COMPAT"
expect "stripped relocations" "$(grep -c 'relocations stripped' <<<"$headers" || true)" 0
expect "a table of relocations" "$(grep -cE '^Entry 5 0*[1-9a-f]' <<<"$headers")" 1
expect "the stack protector" "$("$objdump" -t "$module" | grep -cE ' _{2,3}stack_chk_fail$')" 1
exit "$failures"
