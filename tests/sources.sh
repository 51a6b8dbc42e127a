#!/bin/bash
# What no compiler of this system notices: a source outside src/platform that knows which system this is, and one
# that Windows' own headers would not take. Looks at the sources that need no Qt, since only they compile without one
# for Windows. sources.sh ROOT
set -euo pipefail
cd "$1"

if grep -rnE '_WIN32|Q_OS_|windows\.h|unistd\.h' --include='*.cpp' --include='*.h' --exclude-dir=platform src tools; then
    echo "sources: these lines belong into src/platform" >&2
    exit 1
fi

compiler=x86_64-w64-mingw32-g++
if ! command -v $compiler >/dev/null; then
    echo "sources: no $compiler here, nothing compiled for Windows"
    exit 0
fi
export compiler
# Says the file's name once the compiler has accepted it; a file that includes Qt is passed over.
check_source() {
    local errors
    if errors=$($compiler -std=c++17 -Wall -Wextra -Werror -DUPDATE_SERVER_HOST='"host"' -DPATCH_NOTES_HOST='"host"' \
        -msha -mavx2 -mbmi -mbmi2 -mxsave -Isrc -fsyntax-only "$1" 2>&1); then
        echo "$1"
    elif [[ ! $errors =~ 'fatal error: Q'[A-Za-z]+': No such file' ]]; then
        echo "$errors" >&2
        return 1
    fi
}
export -f check_source
accepted=$(find src -name '*.cpp' ! -path 'src/platform/*' -print0 |
    xargs -0 -P "$(nproc)" -I{} bash -c 'check_source "$1"' - {})
echo "sources: accepted for Windows:" $accepted
# The helpers never need Qt as a whole: if none was compiled, the check looked at nothing.
[[ $accepted == *src/helpers/text.cpp* ]]
