use_engines
# A full disk, here a limit on the size of files: the reason is reported and no partial file is left.
trap '' XFSZ
ulimit -Sf 20
for output in "decode tape.dv --raw" "decode tape.dv --audio" "decode clip.avi --out" "encode clip.avi"; do
    run 7 $output full
    says "cannot write full"
    says "Disk full"
    holds "no partial file after $output" test -z "$(find . -path './full*' -type f)"
    rm -rf full
done
ulimit -Sf unlimited
for arguments in list "decode clip.avi --raw -"; do
    code=0
    run_nyxhost $arguments >/dev/full 2>said || code=$?
    holds "a full standard output is reported" test $code = 7
done
use_no_engines
