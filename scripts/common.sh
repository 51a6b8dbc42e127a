# shellcheck shell=bash
# What all scripts share: words, clean-up, packages, builds, counted results, the virtual display. Each script sources
# it first, after `set -euo pipefail`. It moves to the root of the checkout.
script=$(readlink -f "$0")
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# Shows the comment at the top of the script and ends it.
usage() {
    sed -n '2,/^[^#]/s/^# \?//p' "$script"
    exit 2
}
say() { printf '\n== %s\n' "$*"; }
# give_up WHAT [REMEDY]
give_up() {
    printf '%s: %s\n' "$(basename "$script")" "$1" >&2
    [[ -z ${2:-} ]] || printf '    %s\n' "$2" >&2
    exit 1
}

# The processes in `started` and the folder `temporary` end with the script.
started=()
temporary=$(mktemp -d)
clean_up() {
    ((${#started[@]} == 0)) || kill "${started[@]}" 2>/dev/null || true
    rm -rf "$temporary"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

# Qt's web engine does not start as root with its sandbox.
((EUID != 0)) || export QTWEBENGINE_DISABLE_SANDBOX=1
# Debian keeps nginx in a folder that is not in everybody's path.
PATH=$PATH:/usr/sbin

# need_packages PACKAGE...: installs those of Debian's packages that are missing, as root or through sudo.
need_packages() {
    say "Packages"
    local package missing=() asRoot=()
    for package in "$@"; do
        [[ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" == installed ]] || missing+=("$package")
    done
    echo "Missing: ${missing[*]:-none}"
    ((${#missing[@]} > 0)) || return 0
    ((EUID == 0)) || asRoot=(sudo)
    # The machine's lists may be older than the packages that they name.
    "${asRoot[@]}" apt-get update -q || true
    "${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}" ||
        give_up "These packages of Debian 12 have to be installed, by root: ${missing[*]}"
}

# --- Results ---

passed=0
failed=0
skipped=0
# verify WHAT COMMAND...: counts whether the command succeeds, and says it.
verify() {
    local what=$1
    shift
    if "$@"; then
        echo "   ok    $what"
        passed=$((passed + 1))
    else
        echo "   FAIL  $what"
        failed=$((failed + 1))
    fi
}
# verify_within SECONDS WHAT COMMAND...: the same, with so much time to succeed.
verify_within() {
    wait_for "$1" "${@:3}" >/dev/null || true
    verify "${@:2}"
}
# Ends the script with the result. The counts are its very last line.
finish() {
    ((passed > 0 || failed > 0)) || failed=1
    local result="all passed" counts="$passed passed, $failed failed"
    ((failed == 0)) || result=FAILED
    ((skipped == 0)) || counts+=", $skipped skipped"
    say "RESULT: $result"
    echo "$counts"
    exit $((failed > 0))
}

# --- Building and testing ---

# build PRESET FOLDER TARGET [OPTION...]: configures by a preset of CMakePresets.json, and builds. A failure is counted
# and ends the script.
build() {
    local preset=$1 folder=$2 target=$3
    shift 3
    say "Build of $target in $folder"
    if ! cmake --preset "$preset" -B "$folder" "$@" >/dev/null || ! cmake --build "$folder" --target "$target"; then
        failed=$((failed + 1))
        finish
    fi
}

# run_tests PRESET FOLDER: runs ctest and counts its tests. What was skipped within one of them is named.
run_tests() {
    local code=0 report=$2/tests.xml before=$failed
    say "Tests in $2"
    rm -f "$report"
    # ctest takes the name as one in the folder of the build.
    ctest --preset "$1" --output-junit tests.xml || code=$?
    sed -n 's/^SKIP *: /   skipped  /p' "$2/Testing/Temporary/LastTest.log"
    count() { grep -cE "<testcase .*status=\"($1)\"" "$report" || true; }
    passed=$((passed + $(count run))) failed=$((failed + $(count fail))) skipped=$((skipped + $(count 'notrun|disabled')))
    ((code == 0 || failed > before)) || failed=$((failed + 1))
}

# --- Waiting, the display and servers ---

# wait_for SECONDS COMMAND...: false if the command has not become true in that time.
wait_for() {
    local end=$((SECONDS + $1))
    shift
    until "$@"; do
        ((SECONDS < end)) || return 1
        sleep 0.2
    done
}

# A virtual display of its own: no window comes up on the developer's.
start_display() {
    local display number
    exec {display}< <(exec Xvfb -displayfd 1 -noreset -screen 0 1024x768x24 -nolisten tcp 2>"$temporary/xvfb.log")
    started+=($!)
    read -r -t 20 -u "$display" number ||
        give_up "The virtual display did not start: $(cat "$temporary/xvfb.log")" "The package is called xvfb."
    unset WAYLAND_DISPLAY XAUTHORITY
    export DISPLAY=":$number" QT_QPA_PLATFORM=xcb XDG_RUNTIME_DIR=$temporary
}

port_answers() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }
# need_ports PORT...: ends the script if another program listens where a server will.
need_ports() {
    local port
    for port in "$@"; do
        ! port_answers "$port" ||
            give_up "Port $port of 127.0.0.1 is taken." "End what listens there: 'ss -ltnp' names it."
    done
}
# start_nginx FOLDER PORT...: with the nginx.conf in the folder, in which all that nginx writes stays.
start_nginx() {
    local folder=$1 user="" port
    shift
    # nginx gives up the rights of root where it has them, and could then not read a tree below root's home.
    ((EUID != 0)) || user="user $(id -un) $(id -gn);"
    mkdir -p "$folder/temp"
    nginx -p "$folder" -e error.log -c nginx.conf -g "$user daemon off; pid nginx.pid; error_log error.log;" &
    started+=($!)
    for port in "$@"; do
        wait_for 10 port_answers "$port" || give_up "nginx does not answer on port $port." "Look into $folder/error.log."
    done
}
