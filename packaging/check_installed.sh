# To be sourced. check_installed BIN COMPILER RUNNER...: the programs in BIN, each started through RUNNER (nothing, or
# Wine), work from where they lie: a script compiles to the bytes that COMPILER, a gpc of this machine, makes of it, and
# the host carries frames to a simulated adapter. Ends the caller on the first thing that does not.

# As a user's account has it: no search path for libraries or plug-ins of ours.
clean() {
  env -i HOME="$HOME" PATH="$PATH" DISPLAY="${DISPLAY:-}" XAUTHORITY="${XAUTHORITY:-}" \
    WINEPREFIX="${WINEPREFIX:-}" WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml= \
    QT_QPA_PLATFORM="${QT_QPA_PLATFORM:-}" "$@"
}

check_installed() {
  local bin=$1 compiler=$2 suffix= runner=() out said
  shift 2
  runner=("$@")
  [ ${#runner[@]} -eq 0 ] || suffix=.exe
  out=$(mktemp -d)
  # Relative paths, the same for both systems.
  cp "$root/examples/rapid_fire.gpc" "$out/"
  (
    cd "$out"
    said=$(clean "${runner[@]}" "$bin/gpc$suffix" --version | tr -d '\r')
    [ "$said" = "gpc $version" ] || die "gpc says '$said' instead of 'gpc $version'"
    clean "${runner[@]}" "$bin/gpc$suffix" compile rapid_fire.gpc --stamp 1 -o packaged.gbc
    "$compiler" compile rapid_fire.gpc --stamp 1 -o expected.gbc
    cmp packaged.gbc expected.gbc || die "the packaged compiler makes other bytes than $compiler"
    clean "${runner[@]}" "$bin/ferrylink-host$suffix" --headless --adapter virtual --feed 200 --frames 400 \
      --settings settings.ini --instance "package-$$" --report report.json
    python3 - report.json <<'PYTHON' || die "the packaged host did not carry the frames"
import json, sys

frames = json.load(open(sys.argv[1]))["frames"]
print("frames:", frames)
sys.exit(0 if frames["published"] == 400 and frames["intact"] == frames["forwarded"] > 0 else 1)
PYTHON
  )
  rm -rf "$out"
}
