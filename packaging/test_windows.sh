#!/usr/bin/env bash
# Makes the zip of build/windows, which has to be built as build/release's gpc has, unpacks it into an empty folder
# and tries it there under Wine, with nothing on the search path but what Windows has.
#
#   packaging/test_windows.sh

source "$(dirname "${BASH_SOURCE[0]}")/../scripts/common.sh"
source "$root/packaging/check_installed.sh"

build=$root/build/windows
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:[A-Z]*=//p' "$build/CMakeCache.txt")
export WINEPREFIX=${WINEPREFIX:-$build/wine}
temporary=$(mktemp -d)
trap 'rm -rf "$temporary"' EXIT

say "Making the zip"
rm -rf "$build/packages"
(cd "$build" && cpack --config CPackConfig.cmake >"$temporary/cpack.log" 2>&1) || {
  cat "$temporary/cpack.log" >&2
  die "the zip could not be made"
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

say "Trying it"
check_installed "$folder" "$root/build/release/bin/gpc" wine
say "The zip is fine: $package"
