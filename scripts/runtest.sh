#!/bin/bash
# runtest.sh PROGRAM ARGUMENT...: runs a test program on a virtual display of its own, and one for Windows under Wine.
# CTest puts it before every test program, so that each passes alone and from anywhere.
set -euo pipefail
folder=$PWD
script=$(readlink -f "$0")
. "$(dirname "$script")/common.sh"
. scripts/wine.sh

if [[ $1 != *.exe ]]; then
    start_display
    cd "$folder"
    "$@"
    exit
fi

[[ -n ${LAUNCHER_WINE_IS_READY:-} ]] || start_wine -p5
cd "$folder"
export WINEPATH="Z:${LIBRARY_FOLDERS//:/;Z:}"
# By way of a file: Qt's tests for Windows write nothing to an output that is no console, and Wine's services would
# keep a pipe open that they inherit.
code=0
wine64 "$@" -o "$(wine_path "$temporary/report"),txt" </dev/null >"$temporary/out" 2>&1 || code=$?
cat "$temporary/out" "$temporary/report"
exit $code
