# The road of ./run with the program for Windows, under Wine, and what only an unattended run can try: the update
# replaces the launcher itself, a second start, a running game. Sourced by ./windows, which sets what samplegame.sh and
# road.sh need, and has started Wine.

pictures=$root/screenshots
report=$sample/exitcodes
supervisor=$PWD/tools/scripts/supervise.pl

# start_launcher: starts the installed launcher as a player does. Nothing of this system's Qt or compiler is in reach:
# the relay and its copy find their libraries beside themselves.
start_launcher() {
    (cd "$release" && exec perl "$supervisor" "$report" wine64 ./TessaloomLauncher.exe >>"$sample/launcher.log" 2>&1 </dev/null) &
    started+=($!)
}
# "PID FOLDER" of every running temporary copy.
temporary_copies() {
    local file program
    for file in /proc/[0-9]*/cmdline; do
        { IFS= read -r -d '' program <"$file"; } 2>/dev/null || continue
        program=${program//\"/}
        if [[ $program == "$(wine_path "$release")"'\LAUNCHER_TEMP_EXE_FOLDER'* ]]; then
            program=${program%\\*}
            echo "$(basename "$(dirname "$file")") ${program##*\\}"
        fi
    done
}
launcherPid=
launcherFolder=
# find_launcher [PID]: the temporary copy that runs; another one than this.
find_launcher() {
    read -r launcherPid launcherFolder < <(temporary_copies | grep -v "^${1:-none} " | tail -n 1)
    [[ -n $launcherPid ]]
}
ended() { [[ ! -e /proc/$1 ]]; }
ended_well() { grep -qx "$1 0" "$report"; }

# relative paths of what the relay copies
program_files() { (cd "$1" && find . platforms -maxdepth 1 -type f ! -path './platforms/*' | sed 's|^\./||' | LC_ALL=C sort); }
copy_is_whole() { diff "$sample/installed.files" <(program_files "$release/$launcherFolder") | sed 's/^/         /'; ((PIPESTATUS[0] == 0)); }
only_one_launcher() { (($(temporary_copies | wc -l) == 1)); }
# The link is drawn in a colour that nothing else in the window has.
link_is_visible() { take_picture "$sample/now.png" && (($(pixels "$sample/now.png" '#2a82da') > 100)); }
log_has_replaced_link() { log_is_visible && ! link_is_visible; }
box=
find_box() {
    box=$(xdotool search --onlyvisible --name '^Error$' 2>/dev/null | head -n 1)
    [[ -n $box ]]
}
confirm_box() { xdotool windowfocus --sync "$box" key Return; }
readme_is_missing() { [[ ! -e $tree/readme.txt ]]; }
game_started_in_its_folder() { grep -qxF "Started from Z:$tree/$game" "$tree/$game/started.txt" 2>/dev/null; }

play_road() {
    say "Sample game"
    need_packages nginx openssl libnss3-tools xdotool imagemagick perl
    PATH=$PATH:/usr/sbin
    need_ports
    rm -rf "$sample" "$pictures"
    mkdir -p "$sample" "$pictures"
    make_published_tree
    # The game needs libraries too; of version 1 there is only its text file.
    cp -r "$published/Game/TessaloomLauncher/Release"/{*.dll,platforms} "$published/$game/"
    # By the list maker for Windows, which ends its lines as Windows does.
    WINEPATH=$libraries wine64 "$build/make-list.exe" "$(wine_path "$published")" >"$sample/List.txt" 2>"$sample/make-list.log" </dev/null ||
        { cat "$sample/make-list.log"; give_up "make-list failed." "Its own words are above."; }
    tr -d '\r' <"$sample/List.txt" >"$published/List.txt"
    make_installed_tree
    # Another launcher and another library than those of version 2, that work all the same.
    printf 'of version 1' >>"$release/TessaloomLauncher.exe"
    printf 'of version 1' >>"$release/libgcc_s_seh-1.dll"
    cp "$release/libgcc_s_seh-1.dll" "$release/left over.dll"
    program_files "$release" >"$sample/installed.files"
    { expected_requests; echo "GET 200 $(stat -c %s "$published/List.txt") /LatestVersion/List.txt"; } |
        LC_ALL=C sort >"$sample/expected.log"
    echo "Installed: version 1, $(($(wc -l <"$sample/expected.log") - 2)) files to fetch, in $tree"

    say "Server"
    make_certificate
    start_server

    say "What was verified"
    : >"$report"
    start_launcher
    wait_for 60 find_launcher || give_up "The temporary copy did not start." "Look into $sample/launcher.log."
    verify "the temporary copy has the executable, its libraries and \"platforms\"" copy_is_whole
    local first=$launcherPid second
    wait_for 60 find_window || give_up "No window came up." "Look into $sample/launcher.log."
    wait_for 60 files_arrive || give_up "The update did not begin." "Look into $server/error.log."
    sleep 1
    take_picture "$pictures/downloading.png"
    wait_for 180 ended "$first" || true
    # Wine's ShellExecute waits until the new program is idle, and Windows' does not: so the new launcher meets the old
    # one and ends it, and its exit code says nothing here.
    verify "the launcher fetched another version of itself, and has gone" ended "$first"
    wait_for 60 find_launcher "$first" || give_up "The new launcher did not start." "Look into $sample/launcher.log."
    second=$launcherPid
    wait_for 60 find_window && wait_for 60 play_is_enabled || true
    wait_for 10 link_is_visible || true
    cp "$sample/now.png" "$pictures/patch-notes.png"
    verify "the new one came up by itself, and Play is enabled" play_is_enabled
    verify "its window has 733 by 451 pixels" has_its_size "$pictures/patch-notes.png"
    verify "the address of the patch notes is on the first tab" link_is_visible
    verify "the tree is equal to the list, by size and digest" tree_equals_list
    verify "what version 2 no longer has is gone" left_over_is_gone
    verify "each outdated file was asked for once, the list twice, and nothing else" requests_as_expected

    start_launcher
    wait_for 60 ended "$second" || true
    verify "a second start ended the first window" ended "$second"
    wait_for 60 find_launcher "$second" && wait_for 60 find_window && wait_for 60 play_is_enabled || true
    verify "and has the only one, with Play enabled" only_one_launcher
    press 130 24
    wait_for 10 log_has_replaced_link || true
    cp "$sample/now.png" "$pictures/log.png"
    verify "the log is on the second tab" log_has_replaced_link

    # Any program will do, since only its name counts.
    rm "$tree/readme.txt"
    local editor="$sample/Tessaloom Editor.exe" running
    cp "$WINEPREFIX/drive_c/windows/system32/notepad.exe" "$editor"
    wine64 "$editor" >/dev/null 2>&1 </dev/null &
    running=$!
    started+=("$running")
    wait_for 20 xdotool search --onlyvisible --name 'Notepad' >/dev/null || true
    local third=$launcherPid
    start_launcher
    wait_for 60 find_launcher "$third" && wait_for 60 find_box || true
    import -window root "$pictures/running-game.png"
    verify "with a tool of the game running, a box says so" find_box
    local fourth=$launcherPid
    confirm_box || true
    wait_for 30 ended "$fourth" || true
    verify "and the launcher ended with 0" ended_well "$fourth"
    verify "and changed nothing" readme_is_missing
    kill "$running" 2>/dev/null || true
    wait_for 20 ended "$running" || true

    start_launcher
    wait_for 60 find_launcher "$fourth" && wait_for 60 find_window && wait_for 60 play_is_enabled || true
    # A window that is not painted yet is as dark as an enabled button.
    wait_for 60 tree_equals_list >/dev/null || true
    verify "without it the next start mends the tree" tree_equals_list
    local last=$launcherPid
    press 686 425
    wait_for 60 ended "$last" || true
    wait_for 20 game_started_in_its_folder || true
    verify "Play started the game from its own folder" game_started_in_its_folder
    verify "and ended the launcher with 0" ended_well "$last"

    printf '\nPictures in %s\n' "$pictures"
    if ((failed)); then
        say "RESULT: $failed of $((failed + verified)) points were NOT verified. The sample is left in $sample."
        result=1
    else
        say "RESULT: the whole road was verified, all $verified points."
    fi
}
