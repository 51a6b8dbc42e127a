# shellcheck shell=bash
# Wine with its own drive and home below build/windows: the caller's Wine stays as it is. Sourced after common.sh.
windows=$PWD/build/windows

# A path of this system as Wine knows it.
wine_path() { printf 'Z:%s' "${1//\//\\}"; }

# start_wine -pSECONDS: on a virtual display of its own. Its services outlive the last program by so many seconds; with
# -p alone, until they are ended. CTest hands down the Wine that ./windows has started.
start_wine() {
    # Debian's package keeps it out of everybody's path.
    export PATH=/usr/lib/wine:$PATH WINEPREFIX=$windows/wineprefix WINEARCH=win64 WINEDEBUG=-all
    # No window about missing .NET and HTML parts, no entries in the desktop's menus.
    export WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe="
    # Wine makes the home folder the player's desktop and documents, and translates the names of files by the locale.
    export HOME=$windows/home LC_ALL=C.UTF-8
    mkdir -p "$HOME" "$WINEPREFIX"
    start_display
    unset QT_QPA_PLATFORM
    # The services open the files, and root may write to those that are read-only. No user of Windows may.
    local unprivileged=()
    ((EUID != 0)) || unprivileged=(setpriv --bounding-set -dac_override)
    # It fails where another test has the services running already.
    "${unprivileged[@]}" wineserver64 "$1" || true
    timeout 300 wine64 wineboot >"$windows/wineboot.log" 2>&1 </dev/null ||
        give_up "Wine could not set itself up." "Look into $windows/wineboot.log."
    export LAUNCHER_WINE_IS_READY=1
}
