#!/usr/bin/env bash
# Static analysis with clang-tidy. Needs a configured and built build/release. Takes some seconds a file.
#
#   scripts/tidy.sh [FILE...]     without files: every source that git tracks

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

[ -f build/release/compile_commands.json ] || die "build/release is not configured; run scripts/test.sh tidy"

if [ $# -gt 0 ]; then
  files=("$@")
else
  mapfile -t files < <(git ls-files -- '*.cpp')
fi

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
