# The engines that the search finds, with path and version, and what that means for the filters. The
# stand-ins lie in a folder of their own: whoever puts it on the search path has them.
run 0 list
says "rkzcore.dll   not found"
says "rkm2vi01.dll  not found"
says "creation  fails: E_OUTOFMEMORY"

use_engines
run 0 list
says "rkzcore.dll   1.32.0.0, $(windows_path "$engines")\\rkzcore.dll (Stand-in engine"
says "rkm2vi01.dll  no version, $(windows_path "$engines")\\rkm2vi01.dll"
says "rkdvh.dll     4.31.0.0"
[[ $said != *fails* ]] || fail "$last: a filter fails with its engine in place: $said"

use_engines old
run 0 list
says "rkllc.dll     1.20.65535.65535, too old: at least 1.21 is needed"
says "creation  fails: E_OUTOFMEMORY"
use_no_engines
