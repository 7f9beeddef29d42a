#!/usr/bin/env bash
# Fails when the guest ran other scenarios than those that have an entry of their own.
#
#   complete_results.sh RESULTS SCENARIO...

set -euo pipefail
results=$1
shift
diff <(printf '%s\n' "$@" | sort) <(tr -d '\r' <"$results" | awk '$1 == "begin" { print $2 }' | sort) ||
  { echo "Left: scenarios with an entry; right: scenarios that ran."; exit 1; }
