#!/usr/bin/env bash
# Formatting, static analysis and a few rules of the house. Needs a configured and built build/release.
#
#   scripts/lint.sh [FILE...]     without files: everything that git tracks

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

[ -f build/release/compile_commands.json ] || die "build/release is not configured; run scripts/test.sh lint"

if [ $# -gt 0 ]; then
  files=("$@")
else
  mapfile -t files < <(git ls-files -- '*.h' '*.cpp')
fi

say "clang-format (${#files[@]} files)"
clang-format --dry-run --Werror "${files[@]}"

say "House rules"
failed=0
complain() {
  [ -z "$2" ] && return 0
  printf 'error: %s\n%s\n' "$1" "$2" >&2
  failed=1
}
complain 'branches on the operating system belong into platform/' \
  "$(git grep -nE '#\s*if.*(_WIN32|__linux__|Q_OS_)' -- '*.h' '*.cpp' ':!platform/*' || true)"
complain 'a test that sleeps tests the machine; wait for an event instead' \
  "$(git grep -nE 'sleep_for|QThread::(m|u)?sleep|QTest::q(Sleep|Wait)\(|usleep\(' -- 'tests/*' || true)"
[ $failed -eq 0 ] || exit 1

# Only what this build compiles: the other system's sources are not in the database.
mapfile -t sources < <(
  python3 - "$root" "${files[@]}" <<'PYTHON'
import json, os, sys
root, files = sys.argv[1], sys.argv[2:]
with open(os.path.join(root, "build/release/compile_commands.json")) as database:
    compiled = {os.path.realpath(os.path.join(entry["directory"], entry["file"])) for entry in json.load(database)}
for name in files:
    if os.path.realpath(os.path.join(root, name)) in compiled:
        print(name)
PYTHON
)
say "clang-tidy (${#sources[@]} sources)"
printf '%s\0' "${sources[@]}" | xargs -0 -P "$(nproc)" -n 4 clang-tidy --quiet -p build/release 2>/dev/null
say "Lint passed"
