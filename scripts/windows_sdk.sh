#!/usr/bin/env bash
# Builds what a cross-build for Windows needs and Debian does not package: Qt (Core, Gui, Widgets, Test) and hidapi, from
# Debian's own source packages, with MinGW-w64. About 25 minutes on two cores; a second call finds the work done.
#
#   scripts/windows_sdk.sh [--archive FILE.tar.xz] PREFIX
#
#   PREFIX      the folder to make; what FERRYLINK_WINDOWS_SDK is then to name. It may be moved afterwards.
#   --archive   also packs that folder, for machines that would rather unpack it (FERRYLINK_WINDOWS_SDK_ARCHIVE)
#
# Sources and object files lie in PREFIX.work and are removed at the end; after an interruption the next call goes on there.

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

usage() { sed -n '2,10s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"; }

archive=
prefix=
while [ $# -gt 0 ]; do
  case $1 in
    --archive)
      [ $# -gt 1 ] || die "--archive needs a file name"
      archive=$(realpath -m "$2")
      shift
      ;;
    -h | --help)
      usage
      exit 0
      ;;
    -*)
      usage >&2
      die "unknown option '$1'"
      ;;
    *)
      [ -z "$prefix" ] || die "one PREFIX is enough"
      prefix=$(realpath -m "$1")
      ;;
  esac
  shift
done
[ -n "$prefix" ] || {
  usage >&2
  exit 2
}

need g++-mingw-w64-x86-64-posix cmake ninja-build ccache qt6-base-dev qt6-base-dev-tools dpkg-dev libhidapi-dev xz-utils

# moc and its kin come from this machine's Qt and must have the version of what they work for.
qt_version=$(dpkg-query -W -f='${source:Version}' qt6-base-dev)
hidapi_version=$(dpkg-query -W -f='${source:Version}' libhidapi-dev)
contents="qt6-base $qt_version, hidapi $hidapi_version"

work=$prefix.work
stage=$work/windows-sdk

# apt with lists of its own, so that the machine's package sources stay as they are.
private_apt() {
  apt-get -o Dir::Etc::SourceList="$work/apt/sources.list" -o Dir::Etc::SourceParts="$work/apt/parts" \
    -o Dir::State::Lists="$work/apt/lists" -o Dir::Cache="$work/apt/cache" -o APT::Sandbox::User="$(id -un)" "$@"
}

# The machine's own sources, asked for source packages instead.
list_sources() {
  mkdir -p "$work/apt/parts" "$work/apt/lists/partial" "$work/apt/cache/archives/partial"
  local file
  : >"$work/apt/sources.list"
  for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ -f "$file" ] && sed -n 's/^deb /deb-src /p' "$file" >>"$work/apt/sources.list"
  done
  for file in /etc/apt/sources.list.d/*.sources; do
    [ -f "$file" ] && sed 's/^Types:.*/Types: deb-src/' "$file" >"$work/apt/parts/$(basename "$file")"
  done
  private_apt update -qq
}

# fetch PACKAGE VERSION: unpacks it, Debian's patches applied, into $work/PACKAGE.
fetch() {
  [ -d "$work/$1" ] && return 0
  say "Fetching the source of $1 $2"
  [ -d "$work/apt/lists/partial" ] || list_sources
  rm -rf "$work/download"
  mkdir -p "$work/download"
  (cd "$work/download" && private_apt source -qq "$1=$2" >/dev/null)
  mv "$work/download/$1"-*/ "$work/$1"
  rm -rf "$work/download"
}

# cross_build PACKAGE [cmake arguments...]
cross_build() {
  local package=$1
  shift
  say "Building $package"
  FERRYLINK_WINDOWS_SDK="$stage" cmake -S "$work/$package" -B "$work/$package-build" -G Ninja -Wno-dev \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw_w64.cmake" -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=ON \
    -DCMAKE_INSTALL_PREFIX="$stage" -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache \
    -DCMAKE_C_FLAGS="-ffile-prefix-map=$work=." -DCMAKE_CXX_FLAGS="-ffile-prefix-map=$work=." \
    "$@" >"$work/$package-configure.log" 2>&1 || {
    tail -n 40 "$work/$package-configure.log" >&2
    die "configuring $package failed; all of it: $work/$package-configure.log"
  }
  cmake --build "$work/$package-build" >&2
  cmake --install "$work/$package-build" --strip >/dev/null
}

build_qt() {
  local off=() feature
  # What nothing here uses, what Debian's source leaves out (the tablet header), and every library that would have to
  # come from somewhere else.
  for feature in network sql dbus printsupport xml concurrent vulkan tabletevent zstd icu glib pkg_config \
    system_zlib system_pcre2 system_png system_jpeg system_freetype system_harfbuzz; do
    off+=("-DFEATURE_$feature=OFF")
  done
  cross_build qt6-base "${off[@]}" -DINPUT_opengl=no -DQT_BUILD_TESTS=OFF -DQT_BUILD_EXAMPLES=OFF
}

check() {
  local file
  for file in bin/Qt6{Core,Gui,Widgets,Test}.dll bin/libhidapi.dll plugins/platforms/q{windows,offscreen}.dll \
    lib/cmake/Qt6/Qt6Config.cmake include/hidapi/hidapi.h; do
    [ -f "$stage/$file" ] || die "the build went through, but $file is missing in $stage"
  done
}

if [ "$(cat "$prefix/contents.txt" 2>/dev/null)" = "$contents" ]; then
  say "$prefix holds $contents already"
else
  [ ! -e "$prefix" ] || die "$prefix is there already and holds something else; remove it, or name another folder"
  mkdir -p "$work"
  fetch qt6-base "$qt_version"
  fetch hidapi "$hidapi_version"
  build_qt
  cross_build hidapi
  check
  for package in qt6-base hidapi; do
    install -D -m 644 "$work/$package/debian/copyright" "$stage/licences/$package.txt"
  done
  printf '%s\n' "$contents" >"$stage/contents.txt"
  mv "$stage" "$prefix"
  rm -rf "$work"
fi

if [ -n "$archive" ]; then
  say "Packing $archive"
  tar -C "$(dirname "$prefix")" --transform "s,^$(basename "$prefix"),windows-sdk," -cJf "$archive.partial" "$(basename "$prefix")"
  mv "$archive.partial" "$archive"
fi
say "Ready: FERRYLINK_WINDOWS_SDK=$prefix"
