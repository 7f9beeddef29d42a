#!/usr/bin/env bash
# Runs the fuzz targets, two at a time, from the kept corpora. Needs a built build/fuzz: scripts/test.sh fuzz makes one.
#
#   scripts/fuzz.sh [--seconds N | --runs N] [TARGET...]     60 seconds each; without targets: all of them
#
# What a run learns stays in build/fuzz/corpus and is where the next one begins. A finding is saved in
# build/fuzz/findings, and the command that repeats it printed; the exit is then 1.

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

all=(preprocessor literals translator bytecode compiler status_reports controller_states memory_blocks captured_input adapter_model)
parallel=2
work=build/fuzz
limit=(-max_total_time=60)

# Options that a target has to itself. Long inputs cost time and find nothing that shorter ones do not. Where inputs reach
# thousands of features, weighing each by how rare its features are takes longer than it saves.
options_of() {
  case $1 in
    preprocessor | compiler) echo "-dict=fuzz/language.dict -max_len=1024 -entropic=0" ;;
    bytecode | adapter_model) echo "-max_len=1024 -entropic=0" ;;
    status_reports | controller_states | captured_input) echo "-max_len=1024" ;;
    translator | memory_blocks) echo "-max_len=512" ;;
    literals) echo "-max_len=128" ;;
  esac
}

# An address space at random may leave no room for the sanitizer's shadow. Not every container lets go of it.
fixed_addresses=()
setarch --addr-no-randomize true 2>/dev/null && fixed_addresses=(setarch --addr-no-randomize)

# Inputs are short and freed at once: a small quarantine stays in the cache. A finding's allocation stacks come with its
# repetition, which runs without these options.
export ASAN_OPTIONS=quarantine_size_mb=1:malloc_context_size=1

run_target() {
  local target=$1 log=$work/logs/$1.log
  shift
  mkdir -p "$work/corpus/$target" "$work/findings" "$work/logs"
  # An input takes less than a millisecond. The limit is one of the clock on the wall, which goes on while a machine stands
  # still.
  # shellcheck disable=SC2046
  if "${fixed_addresses[@]}" "$work/bin/ferrylink_fuzz_$target" $(options_of "$target") "$@" \
    -timeout=120 -rss_limit_mb=2048 -reload=0 -print_final_stats=1 -artifact_prefix="$work/findings/$target-" \
    "$work/corpus/$target" "fuzz/corpus/$target" >"$log" 2>&1; then
    awk -v target="$target" '
      / cov: / { for (i = 1; i < NF; ++i) if ($i == "cov:") edges = $(i + 1); else if ($i == "ft:") features = $(i + 1) }
      /number_of_executed_units/ { units = $2 }
      /average_exec_per_sec/ { rate = $2 }
      END { printf "%-18s %10d inputs %7d/s %6d edges %6d features\n", target, units, rate, edges, features }' "$log"
    return 0
  fi
  grep -E 'does not hold|ERROR:|runtime error|SUMMARY' "$log" >&2 || tail -n 20 "$log" >&2
  local finding
  finding=$(sed -n 's/.*Test unit written to //p' "$log" | tail -n 1)
  printf 'error: %s failed; the whole log is %s\n' "$target" "$log" >&2
  [ -n "$finding" ] || return 1
  printf 'repeat it with: %s %s\nits bytes, in base64: %s\n' \
    "$work/bin/ferrylink_fuzz_$target" "$finding" "$(base64 -w 0 "$finding")" >&2
  return 1
}

targets=()
while [ $# -gt 0 ]; do
  case $1 in
    --seconds) limit=(-max_total_time="${2:?seconds}") && shift 2 ;;
    --runs) limit=(-runs="${2:?runs}") && shift 2 ;;
    -h | --help) sed -n '2,7s/^# \{0,1\}//p' "${BASH_SOURCE[0]}" && exit 0 ;;
    -*) die "unknown option '$1'" ;;
    *) targets+=("$1") && shift ;;
  esac
done
[ ${#targets[@]} -gt 0 ] || targets=("${all[@]}")
for target in "${targets[@]}"; do
  [ -x "$work/bin/ferrylink_fuzz_$target" ] || die "there is no target '$target' in $work/bin; scripts/test.sh fuzz builds them"
done

failed=0
for target in "${targets[@]}"; do
  while [ "$(jobs -pr | wc -l)" -ge "$parallel" ]; do
    wait -n || failed=1
  done
  run_target "$target" "${limit[@]}" &
done
while [ -n "$(jobs -p)" ]; do
  wait -n || failed=1
done
exit "$failed"
