#!/bin/bash
# winetest.sh PROGRAM ARGUMENTS...: runs a test program for Windows under Wine, and tells what it said.
#
# By way of a file: Qt's tests for Windows write nothing to an output that is no console, and Wine's services would
# keep a pipe open that they inherit.
set -euo pipefail
report=$(mktemp)
trap 'rm -f "$report" "$report.out"' EXIT

code=0
wine64 "$@" -o "Z:$report,txt" </dev/null >"$report.out" 2>&1 || code=$?
cat "$report.out" "$report"
exit $code
