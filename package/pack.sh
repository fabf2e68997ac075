#!/usr/bin/env bash
# pack.sh BUILD FOLDER: puts what was built in BUILD together as
# FOLDER/nyx-codecs-VERSION-setup.exe and FOLDER/nyx-codecs-VERSION.zip. The same binaries of the same
# commit give the same bytes: every file has the commit's time, and orders and modes are fixed.
. "$(dirname "$0")/../scripts/lib.sh"
here=$root/package
build=$1
folder=$2
version=$(cat "$root/VERSION")
commit=$(git -C "$root" rev-parse HEAD)
export SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git -C "$root" log -1 --format=%ct)} TZ=UTC LC_ALL=C
umask 022

name=nyx-codecs-$version
stage=$folder/$name
rm -rf "$stage" "$stage.zip" "$stage-setup.exe"
mkdir -p "$stage"/{debug,engines,licences/scripts}

# Windows' line ends, and what the templates name.
text() { # SOURCE TARGET
    sed -e "s/@VERSION@/$version/g" -e "s/@COMMIT@/$commit/g" \
        -e "s/@LIBAV@/$(cat "$root/build/libavcodec/source-version")/g" -e 's/\r*$/\r/' "$1" >"$stage/$2"
}
binary() { # SOURCE TARGET
    i686-w64-mingw32-strip -o "$stage/$2" "$1"
    i686-w64-mingw32-objcopy --only-keep-debug "$1" "$stage/debug/$(basename "$2").debug"
}
for file in nyxcodecs.dll nyxsource.dll nyxhost.exe processor_check.exe; do
    binary "$build/bin/$file" "$file"
done
for file in rkdvh.dll rkm2vi01.dll; do
    binary "$build/engines/open/$file" "engines/$file"
done
text "$here/readme.txt.in" README.txt
text "$root/CHANGELOG.md" CHANGELOG.txt
text "$here/install.cmd" install.cmd
text "$here/uninstall.cmd" uninstall.cmd
for place in engines licences; do
    text "$root/build/libavcodec/COPYING.LGPLv2.1" "$place/LGPL-2.1.txt"
    text "$here/source-offer.txt.in" "$place/SOURCE.txt"
done
for package in mingw-w64-common libcli11-dev; do
    text "/usr/share/doc/$package/copyright" "licences/$package.txt"
done
cp "$root"/scripts/{engines,lib.sh,packages.sh,emulation.sh} "$stage/licences/scripts/"

find "$stage" -type f -exec chmod 644 {} +
find "$stage" -exec touch -d "@$SOURCE_DATE_EPOCH" {} +
(cd "$folder" && find "$name" -type f | sort | zip -q -9 -X -@ "$name.zip")
makensis -V2 -NOCD -DVERSION="$version" -DSTAGE="$stage" -DOUTPUT="$stage-setup.exe" "$here/setup.nsi"
rm -rf "$stage"
