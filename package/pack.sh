#!/usr/bin/env bash
# pack.sh BUILDS FOLDER: packs the binaries of BUILDS/win32 and BUILDS/win64 as
# FOLDER/nyx-codecs-VERSION-setup.exe and FOLDER/nyx-codecs-VERSION.zip, with
# FOLDER/nyx-codecs-VERSION.sha256 for sha256sum -c. The same binaries of the same commit give the same
# bytes: every file has the commit's time, and orders and modes are fixed.
. "$(dirname "$0")/../scripts/lib.sh"
here=$root/package
builds=$1
folder=$2
version=$(cat "$root/VERSION")
commit=$(git -C "$root" rev-parse HEAD)
export SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git -C "$root" log -1 --format=%ct)} TZ=UTC LC_ALL=C
umask 022

name=nyx-codecs-$version
stage=$folder/$name
tools=$stage-tools
rm -rf "$stage" "$stage.zip" "$stage-setup.exe" "$tools"
mkdir -p "$stage/licences/scripts" "$tools"

# Fills in a template and writes Windows line ends.
text() { # SOURCE TARGET
    sed -e "s/@VERSION@/$version/g" -e "s/@COMMIT@/$commit/g" \
        -e "s/@LIBAV@/$(cat "$root/build/libavcodec/source-version")/g" -e 's/\r*$/\r/' "$1" >"$stage/$2"
}
binaries() { # PRESET MACHINE FOLDER FILE...
    local file target
    mkdir -p "$stage/$3/engines" "$stage/debug/$3"
    for file in "${@:4}"; do
        target=${file/#engines\/open/engines}
        target=$3/${target#bin/}
        "$2-w64-mingw32-strip" -o "$stage/$target" "$builds/$1/$file"
        "$2-w64-mingw32-objcopy" --only-keep-debug "$builds/$1/$file" "$stage/debug/$3/${file##*/}.debug"
    done
}
files=(bin/nyx{codecs.dll,source.dll,shell.dll,host.exe} engines/open/rk{dvh,m2vi01}.dll)
binaries win32 i686 . "${files[@]}" bin/processor_check.exe
binaries win64 x86_64 x64 "${files[@]}"
i686-w64-mingw32-strip -o "$tools/path_entry.exe" "$builds/win32/bin/path_entry.exe"
text "$here/readme.txt.in" README.txt
text "$root/CHANGELOG.md" CHANGELOG.txt
text "$here/install.cmd" install.cmd
text "$here/uninstall.cmd" uninstall.cmd
mkdir "$stage/docs"
text "$root/docs/info-schema.json" docs/info-schema.json
for header in platform/class_ids.h platform/footage_info.h filters/encode_parameter.h settings/encode_parameter_block.h; do
    mkdir -p "$stage/include/${header%/*}"
    text "$root/$header" "include/$header"
done
text "$root/examples/play_file.cpp" include/play_file.cpp
for place in engines x64/engines licences; do
    text "$root/build/libavcodec/COPYING.LGPLv2.1" "$place/LGPL-2.1.txt"
    text "$here/source-offer.txt.in" "$place/SOURCE.txt"
done
for package in mingw-w64-common libcli11-dev nlohmann-json3-dev; do
    text "/usr/share/doc/$package/copyright" "licences/$package.txt"
done
cp "$root"/scripts/{engines,lib.sh,packages.sh,emulation.sh} "$stage/licences/scripts/"

find "$stage" "$tools" -type f -exec chmod 644 {} +
find "$stage" "$tools" -exec touch -d "@$SOURCE_DATE_EPOCH" {} +
(cd "$folder" && find "$name" -type f | sort | zip -q -X -@ "$name.zip")
makensis -V2 -WX -NOCD -DVERSION="$version" -DSTAGE="$stage" -DTOOLS="$tools" -DOUTPUT="$stage-setup.exe" "$here/setup.nsi"
rm -rf "$stage" "$tools"
(cd "$folder" && sha256sum "$name-setup.exe" "$name.zip" >"$name.sha256")
