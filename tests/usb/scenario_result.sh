#!/usr/bin/env bash
# The result of one scenario as the guest told it: prints what it said and fails when the scenario failed or is not there.
#
#   scenario_result.sh RESULTS SCENARIO

set -euo pipefail
results=$1 scenario=$2
[ -f "$results" ] || { echo "There are no results: the guest has not run."; exit 1; }
tr -d '\r' <"$results" | awk -v name="$scenario" '
  $1 == "begin" { mine = $2 == name }
  mine { print }
  $1 == "ok" && $2 == name { passed = 1 }
  END { if (!passed) print "No result that says that " name " passed."; exit !passed }'
