#!/bin/bash
# Checks of the sources that no compiler makes:
# sources.sh rooms    no file includes against the order of the rooms, and only src/platform knows the system
# sources.sh format   clang-format would change nothing
# sources.sh shell    shellcheck has nothing to say about the scripts
# sources.sh size     the tests come to at most 33 lines per 100 of C++ in src and tools, blank lines aside
# sources.sh tidy BUILD    clang-tidy has nothing to say; BUILD has a compile_commands.json. Takes some minutes.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/.."

core="platform helpers digest processes gametree"
# The rooms whose headers a room may include beside its own.
may_include() {
    case $1 in
        helpers) echo platform ;;
        digest | processes) echo platform helpers ;;
        gametree) echo platform helpers digest processes ;;
        console) echo platform helpers gametree ;;
        qtdownload) echo "$core startup mainwindow" ;;
        mainwindow) echo "$core form qtdownload startup" ;;
        startup | bench) echo "$core form mainwindow startup" ;;
        makelist | comparelists | checkserver) echo "$core console" ;;
    esac
}

check_rooms() {
    local wrong sources=(--include='*.cpp' --include='*.h' src tools) place room included
    local systems='_WIN32|_WIN64|__linux__|__unix__|Q_OS_|Q_CC_|_MSC_VER|__GNUC__|__clang__|__MINGW|__x86_64__|_M_X64'
    wrong=$(
        grep -rnE '^[[:space:]]*#[[:space:]]*include "' "${sources[@]}" |
            sed -E 's#^([^/]*/([^/]*)/[^:]*:[0-9]*):[^"]*"([^/"]*).*#\1 \2 \3#' |
            while read -r place room included; do
                [[ " $room $(may_include "$room") " == *" $included "* ]] ||
                    echo "$place: $room must not include $included"
            done
        grep -rnE "^[[:space:]]*#[[:space:]]*((el)?if.*($systems)|include <(windows|unistd)\.h>)" "${sources[@]}" tests |
            grep -vE '^(src/platform|tests/support/windows)/'
    ) || true
    echo "$wrong"
    [[ -z $wrong ]]
}

count_lines() { tr '\n' '\0' | xargs -0 cat | grep -cv '^[[:space:]]*$'; }
check_size() {
    local code tests most=33
    code=$(find src tools -name '*.cpp' -o -name '*.h' | count_lines)
    tests=$(find tests -type f ! -path 'tests/fuzz/corpus/*' ! -name CMakeLists.txt | count_lines)
    echo "$tests lines of tests, $code of code: $((100 * tests / code)) per 100, at most $most"
    ((100 * tests / code <= most))
}

# What the build does not compile, as the sources for Windows, is left out.
check_tidy() {
    sed -nE "s#^ *\"file\": \"($PWD/(src|tools)/.*)\",?\$#\1#p" "$1/compile_commands.json" | sort -u |
        xargs -d '\n' -n 4 -P "$(nproc)" clang-tidy -p "$1" --quiet 2>/dev/null
}

case "$*" in
    rooms) check_rooms ;;
    format) find src tools tests -name '*.cpp' -print0 -o -name '*.h' -print0 | xargs -0 clang-format --dry-run -Werror ;;
    shell) shellcheck --external-sources --check-sourced run test windows bench .ci/run resources/make-icon scripts/{runtest,sign}.sh tests/sources.sh tests/*.bats ;;
    size) check_size ;;
    tidy\ ?*) check_tidy "$2" ;;
    *) sed -n '2,/^[^#]/s/^# \?//p' "$0"; exit 2 ;;
esac
