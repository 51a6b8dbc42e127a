# shellcheck shell=bash
# The road of ./run with the program for Windows, under Wine. It also tries what only an unattended run can: the update
# replaces the launcher itself, two starts meet, files can't be replaced. ./windows sources it after road.sh.

settings=$tree/$game/settings.ini
textures=Game/Tessaloom/Textures/textures.pak
pattern="$tree/Game/Tessaloom/Patterns/Set 3/pattern 03.dat"

# Nothing of this system's Qt or compiler is in reach: the relay and its copy find their libraries beside themselves.
start_windows_launcher() { start_launcher wine64 ./TessaloomLauncher.exe; }
# Relative paths of what the relay copies.
program_files() { (cd "$1" && find . platforms -maxdepth 1 -type f ! -path './platforms/*' | sed 's|^\./||' | LC_ALL=C sort); }
copy_is_complete() { diff "$sample/installed.files" <(program_files "$release/$launcherFolder") | sed 's/^/         /'; }
only_one_launcher() { (($(temporary_copies | wc -l) == 1)); }
# The link is drawn in a colour that nothing else in the window has.
link_is_visible() { take_picture && (($(pixels '#2a82da') > 100)); }
# The other start's supervisor waits as long as its launcher's window.
one_start_is_left() { (($(jobs -pr | grep -cxF -e "${started[-1]}" -e "${started[-2]}") == 1)); }
# The button as it was after the update, and with another text.
button() { convert "$1" -crop 70x30+652+410 +repage gray:-; }
offers_play() { play_is_enabled && cmp -s <(button "$picture") <(button "$pictures/patch-notes.png"); }
offers_play_offline() { play_is_enabled && ! offers_play; }
settings_are_held() { ! wine64 cmd /c type "$(wine_path "$settings")" >/dev/null 2>&1 </dev/null; }
is_unfinished() { [[ -e $pattern ]] && ! cmp -s "$published/$textures" "$tree/$textures"; }

# Starts the launcher once more, and waits for its window to be the only one. Sets `former` to the launcher before.
restart_launcher() {
    former=$launcherPid
    start_windows_launcher
    wait_for 60 ended "$former" || true
    wait_for_play || true
}
# verify_start_mends WHAT
verify_start_mends() {
    restart_launcher
    # A window that is not painted yet is as dark as an enabled button.
    verify_within 60 "$1" tree_is_as_published
    verify_within 20 "and offers to play" offers_play
}
# verify_settings_stay WHAT: starts the launcher with settings that it can't replace, and a readme that is missing.
verify_settings_stay() {
    cp "$settings" "$sample/settings.before"
    rm "$tree/readme.txt"
    restart_launcher
    verify_within 60 "with $1, the launcher offers to play offline" offers_play_offline
    verify "and leaves the file as it is" cmp "$sample/settings.before" "$settings"
    verify "and has fetched the others" cmp "$published/readme.txt" "$tree/readme.txt"
}

play_road() {
    local editor="$sample/Tessaloom Editor.exe" system32=$WINEPREFIX/drive_c/windows/system32 running list
    say "Sample game"
    make_published_tree
    # The game needs libraries too. In version 1 it is only a text file.
    cp -r "$published/Game/TessaloomLauncher/Release"/{*.dll,platforms} "$published/$game/"
    # The list maker for Windows finds its libraries in the current folder.
    list=$(wine_path "$published/List.txt")
    (cd "$published/$game" && wine64 "$build/make-list.exe" "$(wine_path "$published")" -o "$list") </dev/null \
        >"$sample/make-list.log" 2>&1 || give_up "make-list failed." "Look into $sample/make-list.log."
    make_installed_tree
    # The launcher and a library differ from version 2, and still work.
    printf 'of version 1' | tee -a "$release/libgcc_s_seh-1.dll" >>"$release/TessaloomLauncher.exe"
    cp "$release/libgcc_s_seh-1.dll" "$release/left over.dll"
    program_files "$release" >"$sample/installed.files"
    expect_requests List.txt List.txt
    start_server 8m

    say "Road"
    start_windows_launcher
    watch_update
    verify "the temporary copy has the executable, its libraries and \"platforms\"" copy_is_complete
    # Wine's ShellExecute waits until the new program is idle, and Windows' does not: so the new launcher meets the old
    # one and ends it, and its exit code says nothing here.
    verify_within 180 "the launcher fetched another version of itself, and has ended" ended "$launcherPid"
    wait_for_play || give_up "The new launcher did not start." "Look into $sample/launcher.log."
    verify_first_tab link_is_visible
    verify_update

    restart_launcher
    verify "a second start ended the first window" ended "$former"
    verify "and has the only one" only_one_launcher
    verify_second_tab

    # Any program will do, since only its name counts.
    rm "$tree/readme.txt"
    cp "$system32/notepad.exe" "$editor"
    wine64 "$editor" >/dev/null 2>&1 </dev/null &
    running=$!
    started+=("$running")
    wait_for 20 xdotool search --onlyvisible --name 'Notepad' >/dev/null || true
    start_windows_launcher
    wait_for_launcher
    verify_within 60 "with a tool of the game running, a box says so" find_window Error
    import -window root "$pictures/running-game.png"
    xdotool windowfocus --sync "$window" key Return || true
    verify_within 30 "and the launcher ended with 0" ended_well "$launcherPid"
    verify "and changed nothing" test ! -e "$tree/readme.txt"
    kill "$running" || true
    wait "$running" || true

    verify_start_mends "without it the next start mends the tree"

    # The small files come before the large one.
    rm "$pattern"
    blob "old textures" 40960 "$tree/$textures"
    start_windows_launcher
    wait_for_launcher
    wait_for 60 test -e "$pattern" || true
    kill -KILL "$launcherPid"
    verify "killed half-way, it leaves a part of the update" is_unfinished
    verify_start_mends "and the next start brings the rest"

    kill -KILL "$launcherPid"
    wait_for 20 ended "$launcherPid" || true
    program_files "$release" >"$sample/installed.files"
    start_windows_launcher
    start_windows_launcher
    verify_within 60 "of two starts at once one is left" one_start_is_left
    wait_for_play || true
    verify "with the only window" only_one_launcher
    verify "and the whole copy" copy_is_complete

    # A redirection opens its file for itself alone. Nothing ever comes through the pipe, so it stays open.
    mkfifo "$temporary/keys"
    (cd "$tree/$game" && exec wine64 "$system32/cmd.exe" /c 'pause >>settings.ini' <>"$temporary/keys" >/dev/null 2>&1) &
    running=$!
    started+=("$running")
    verify_within 20 "a program holds a file open" settings_are_held
    verify_settings_stay "the file held open"
    kill "$running" || true
    wait "$running" || true
    verify_start_mends "let go of it, the next start mends the tree"

    printf 'version = 1\n' >"$settings"
    chmod a-w "$settings"
    verify_settings_stay "a read-only file"
    chmod u+w "$settings"
    verify_start_mends "writable, the next start mends it"

    press_play
    verify_play
}
