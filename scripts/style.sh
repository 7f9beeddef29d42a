#!/usr/bin/env bash
# Formatting and a few rules of the house.
#
#   scripts/style.sh [FILE...]     without files: everything that git tracks

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

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
