#!/bin/bash
# runtest.sh PROGRAM ARGUMENT...: runs a test program on a virtual display of its own, and one for Windows under Wine.
# CTest puts it before every test program, so that each passes alone and from anywhere. CTest alone knows where the
# libraries of a program for Windows are.
set -euo pipefail
folder=$PWD
. "$(dirname "$(readlink -f "$0")")/common.sh"
. scripts/wine.sh

# refuse_unknown FILE: Qt passes after it has said that there is no such row. What it says of a function is easily
# overlooked among the leaks that it then has.
refuse_unknown() { ! grep -q '^Unknown test' "$1" || give_up "There is no such function or row: nothing was tested."; }

# Files that stay open show soon, whatever the machine allows.
ulimit -Sn 512
code=0
if [[ $1 != *.exe ]]; then
    start_display
    cd "$folder"
    # Libraries that Qt loads for the desktop, and that AddressSanitizer finds leaking: the session's bus and the drivers
    # of OpenGL.
    ! grep -q __asan_init "$1" || export DBUS_SESSION_BUS_ADDRESS=disabled: QT_XCB_GL_INTEGRATION=none
    if (($# > 1)); then
        "$@" 2>"$temporary/err" || code=$?
        cat "$temporary/err" >&2
        refuse_unknown "$temporary/err"
    else
        "$@" || code=$?
    fi
    exit $code
fi

[[ -n ${LIBRARY_FOLDERS:-} ]] || give_up "LIBRARY_FOLDERS does not name the folders of Qt's libraries for Windows." \
    "CTest sets it: 'ctest --preset windows -R $(basename "$1" .exe)'."
[[ -n ${LAUNCHER_WINE_IS_READY:-} ]] || start_wine -p5
cd "$folder"
export WINEPATH="Z:${LIBRARY_FOLDERS//:/;Z:}"
# By way of a file: Qt's tests for Windows write nothing to an output that is no console, and Wine's services would
# keep a pipe open that they inherit.
wine64 "$@" -o "$(wine_path "$temporary/report"),txt" </dev/null >"$temporary/out" 2>&1 || code=$?
cat "$temporary/out" "$temporary/report"
refuse_unknown "$temporary/out"
exit $code
