# Shared by the scripts beside it; to be sourced. Finds the checkout, installs what a bare Debian 12 lacks, configures
# and builds a preset. Needs bash and apt; says what to do when it may not install.

set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

say() { printf '\033[1m==> %s\033[0m\n' "$*" >&2; }
die() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# One list for everything: programs and tests are configured together, in one build folder.
packages=(
  g++ cmake ninja-build ccache pkg-config python3
  qt6-base-dev libgl-dev libhidapi-dev libcli11-dev nlohmann-json3-dev
  libgtest-dev libgmock-dev tcc
)

# need PACKAGE...: installs those that are missing.
need() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0

  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || die "these packages are missing: ${missing[*]}
Install them as root (apt-get install ${missing[*]}) and run this again."
    as_root=(sudo)
  fi
  say "Installing ${missing[*]}"
  "${as_root[@]}" apt-get update -qq
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -qq -y --no-install-recommends "${missing[@]}" >/dev/null
}

# build PRESET [cmake --build arguments...]
build() {
  local preset=$1
  shift
  if [ ! -f "build/$preset/build.ninja" ]; then
    say "Configuring $preset"
    local log
    log=$(mktemp)
    if ! cmake --preset "$preset" >"$log" 2>&1; then
      cat "$log" >&2
      rm -f "$log"
      die "configuring the preset $preset failed"
    fi
    rm -f "$log"
  fi
  say "Building $preset"
  cmake --build --preset "$preset" "$@" >&2
}
