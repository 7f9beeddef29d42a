#!/usr/bin/env bash
# Makes the zip and the installer of build/windows, which has to be built as build/release's gpc has, unpacks the one into
# an empty folder, runs the other, and tries what both leave there under Wine, with nothing on the search path but what
# Windows has.
#
#   packaging/test_windows.sh

source "$(dirname "${BASH_SOURCE[0]}")/../scripts/common.sh"
source "$root/packaging/check_installed.sh"

build=$root/build/windows
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:[A-Z]*=//p' "$build/CMakeCache.txt")
export WINEPREFIX=${WINEPREFIX:-$build/wine}
temporary=$(mktemp -d)
trap 'rm -rf "$temporary"' EXIT

say "Making the packages"
rm -rf "$build/packages"
(cd "$build" && cpack --config CPackConfig.cmake >"$temporary/cpack.log" 2>&1) || {
  cat "$temporary/cpack.log" >&2
  die "the packages could not be made"
}
package=$(ls "$build"/packages/*.zip)
python3 -m zipfile -e "$package" "$temporary/unpacked"
folder=$(echo "$temporary"/unpacked/*)
for file in FerryLink.dll VantorCore.dll libhidapi.dll virtual/libhidapi.dll Qt6Core.dll platforms/qwindows.dll \
  README.txt licences/FerryLink.txt licences/Qt.txt licences/LGPL-3.txt examples/rapid_fire.gpc docs/gpc2.md; do
  [ -f "$folder/$file" ] || die "the zip has no $file"
done
python3 - "$version" "$folder"/{FerryLink,VantorCore,virtual/libhidapi}.dll "$folder"/{gpc,cvfeed,ferrylink-host}.exe <<'PYTHON'
import re, sys

# The value is aligned behind the key and its zero.
version = re.compile(b"%s(?:\0\0)+%s\0\0" % tuple(text.encode("utf-16-le") for text in ("FileVersion", sys.argv[1])))
for name in sys.argv[2:]:
    if not version.search(open(name, "rb").read()):
        sys.exit(f"error: {name} does not tell its version")
PYTHON

say "Trying the zip"
check_installed "$folder" "$root/build/release/bin/gpc" wine

say "Trying the installer"
# Silent: the folder is told, last and without quotes (so no blanks here), instead of being asked for.
windows_folder='C:\FerryLinkTried'
installed="$WINEPREFIX/drive_c/FerryLinkTried"
rm -rf "$installed"
wine "${package%.zip}.exe" /S "/D=$windows_folder"
(cd "$folder" && find . -type f | sort) >"$temporary/zip.list"
(cd "$installed" && find . -type f ! -name Uninstall.exe | sort) >"$temporary/installer.list"
diff "$temporary/zip.list" "$temporary/installer.list" || die "the installer lays down other files than the zip has"
check_installed "$installed" "$root/build/release/bin/gpc" wine
touch "$installed/examples/of_mine.gpc"
# With _?= it works where it lies and is waited for, but cannot remove itself.
wine "$installed/Uninstall.exe" /S "_?=$windows_folder"
left=$(cd "$installed" && find . -type f | sort | tr '\n' ' ')
[ "$left" = "./Uninstall.exe ./examples/of_mine.gpc " ] || die "removing FerryLink left: $left"
rm -rf "$installed"
say "The zip and the installer are fine: $package, ${package%.zip}.exe"
