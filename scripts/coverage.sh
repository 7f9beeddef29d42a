#!/usr/bin/env bash
# Runs the tests in a build that counts, and prints what part of the lines and branches of each folder they reached, as a
# table for docs/quality.md. Branches that only exceptions take are left out: the compiler makes one of nearly every call.
#   scripts/coverage.sh [FOLDER]    with a folder: its files instead, and the lines that no test reached

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

need "${packages[@]}" gcovr
folders=(gpc device host platform workers ui plugin simulator tools)
counts=build/coverage/coverage.json

if [ $# -eq 0 ]; then
  build coverage
  find build/coverage -name '*.gcda' -delete
  # Limits of time that the tests set are missed by some in a build that neither optimises nor stops counting.
  ctest --preset coverage -j "$(nproc)" || say "Some tests failed in this slow build; what they reached counts all the same"
  gcovr --root . --filter "($(IFS='|' && echo "${folders[*]}"))/" --exclude '.*/(moc_|mocs_).*' --exclude-throw-branches \
    --gcov-ignore-parse-errors -j "$(nproc)" --json "$counts" build/coverage
fi
[ -f "$counts" ] || die "run scripts/coverage.sh without a folder first"

exec python3 - "$counts" "${1:-}" <<'PYTHON'
import json, sys

files = json.load(open(sys.argv[1]))["files"]
chosen = sys.argv[2].rstrip("/")


def counted(lines):
    branches = [branch for line in lines for branch in line["branches"]]
    return [(len(lines), sum(line["count"] > 0 for line in lines)),
            (len(branches), sum(branch["count"] > 0 for branch in branches))]


def relevant(file):
    return [line for line in file["lines"] if not line.get("gcovr/noncode")]


def row(name, groups):
    cells = [f"{hit:,} of {total:,}, {100 * hit / total:.1f} %" if total else "none" for total, hit in groups]
    print(f"| {name} | {cells[0]} | {cells[1]} |")


print("| folder | lines | branches |\n|---|---|---|")
rows = {}
for file in files:
    folder = file["file"].split("/")[0]
    if not chosen:
        rows.setdefault(f"`{folder}/`", []).extend(relevant(file))
    elif folder == chosen:
        rows[f"`{file['file']}`"] = relevant(file)
for name in sorted(rows):
    row(name, counted(rows[name]))
if chosen:
    print()
    for file in files:
        missed = [str(line["line_number"]) for line in relevant(file) if line["count"] == 0]
        if file["file"].split("/")[0] == chosen and missed:
            print(f"{file['file']}: {' '.join(missed)}")
else:
    row("all", counted([line for lines in rows.values() for line in lines]))
PYTHON
