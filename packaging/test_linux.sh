#!/usr/bin/env bash
# Makes the .deb of build/release, which has to be built, and tries it: the plain installation, moved elsewhere; the
# package's contents unpacked; and, as root on a machine without the package, installed and removed again.
#
#   packaging/test_linux.sh

source "$(dirname "${BASH_SOURCE[0]}")/../scripts/common.sh"
source "$root/packaging/check_installed.sh"

build=$root/build/release
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:[A-Z]*=//p' "$build/CMakeCache.txt")
temporary=$(mktemp -d)
installed=
clean_up() {
  [ -z "$installed" ] || dpkg --purge ferrylink >/dev/null
  rm -rf "$temporary"
}
trap clean_up EXIT
export QT_QPA_PLATFORM=offscreen

say "Installing into a folder and moving that"
cmake --install "$build" --prefix "$temporary/first" >/dev/null
mv "$temporary/first" "$temporary/second"
check_installed "$temporary/second/bin" "$build/bin/gpc"

say "Making the package"
rm -rf "$build/packages"
(cd "$build" && cpack --config CPackConfig.cmake >"$temporary/cpack.log" 2>&1) || {
  cat "$temporary/cpack.log" >&2
  die "the package could not be made"
}
package=$(ls "$build"/packages/*.deb)
dpkg-deb --info "$package" | sed -n '/^ Package:/,$p' >&2
depends=$(dpkg-deb --field "$package" Depends)
for needed in libqt6core6 libqt6widgets6 libhidapi-hidraw0 libc6; do
  grep -qw "$needed" <<<"$depends" || die "the package does not ask for $needed"
done

say "Unpacking it"
dpkg-deb --extract "$package" "$temporary/unpacked"
check_installed "$temporary/unpacked/usr/bin" "$build/bin/gpc"

if [ "$(id -u)" -ne 0 ]; then
  say "Not installed into the system: that takes root"
elif dpkg-query -W ferrylink >/dev/null 2>&1; then
  say "Not installed into the system: a package ferrylink is there already"
else
  say "Installing it into the system, and removing it"
  installed=yes
  dpkg --install "$package" >/dev/null
  dpkg --listfiles ferrylink >"$temporary/files"
  check_installed /usr/bin "$build/bin/gpc"
  dpkg --purge ferrylink >/dev/null
  installed=
  while read -r file; do
    [ ! -f "$file" ] || die "$file was left behind"
  done <"$temporary/files"
fi
say "The package is fine: $package"
