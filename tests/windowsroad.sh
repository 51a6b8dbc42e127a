# shellcheck shell=bash
# The road of ./run with the packages for Windows, under Wine: a player installs the game with the setup program, updates
# it, plays, installs once more and uninstalls. Before that, the packages are made and signed. ./windows sources it after
# road.sh.

keys=$temporary/keys
unpacked=$temporary/unpacked
shortcut="C:\\users\\$(id -un)\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs\\Tessaloom Launcher.lnk"
entry='HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Tessaloom'

# --- The packages ---

# A run of its own, as a publisher starts it, with the password WORD: dist WORD
dist() {
    echo "$1" >"$keys/password"
    UPDATE_SERVER_HOST=${sampleServers[0]} PATCH_NOTES_HOST=${sampleServers[1]} SIGN_CERTIFICATE=$keys/key.p12 \
        SIGN_PASSWORD_FILE=$keys/password "$script" dist >"$keys/log" 2>&1
}
packages() { find "$windows" -maxdepth 1 -name 'Tessaloom*.*'; }
a_wrong_password_leaves_no_package() { ! dist wrong && grep -q 'Wrong password' "$keys/log" && [[ -z $(packages) ]]; }
is_signed() { osslsigncode verify -CAfile "$keys/certificate.pem" -in "$1" >/dev/null 2>&1; }

make_signed_packages() {
    mkdir -p "$keys"
    openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=Tessaloom test" -addext extendedKeyUsage=codeSigning \
        -keyout "$keys/key.pem" -out "$keys/certificate.pem" 2>/dev/null
    openssl pkcs12 -export -inkey "$keys/key.pem" -in "$keys/certificate.pem" -passout pass:right -out "$keys/key.p12"
    say "Packages"
    verify "a wrong password ends dist with its reason and without a package" a_wrong_password_leaves_no_package
    dist right || give_up "The packages were not made." "$(tail "$keys/log")"
    setup=$(packages | grep Setup)
    mkdir "$unpacked"
    local file
    (cd "$unpacked" && for file in "$windows"/*.zip; do cmake -E tar xf "$file"; done)
    while IFS= read -r file; do
        verify "$(basename "$file") is signed" is_signed "$file"
    done < <(packages | grep exe && find "$unpacked" -name '*.exe')
}

# --- The setup program ---

# run_setup FOLDER: silently. The folder comes last and without quotes, blanks and all.
run_setup() {
    local words
    read -ra words <<<"/D=$(wine_path "$1")"
    timeout 120 wine64 "$setup" /S "${words[@]}" </dev/null 2>/dev/null
}
setup_runs_on() {
    wine64 reg add "HKCU\\Software\\Wine\\AppDefaults\\$(basename "$setup")" /v Version /d "$1" /f >/dev/null 2>&1
}
content() { find "$1" -type f -printf '%P %s %T@\n' 2>/dev/null | sort; }
# The setup program ends with 2, says why, and touches nothing: refuses FOLDER REASON
refuses() {
    local before said code=0
    before=$(content "$1")
    said=$(run_setup "$1") || code=$?
    ((code == 2)) && [[ $said == *"$2"* && $(content "$1") == "$before" ]]
}
installed_launcher_is_of_the_package() {
    diff -r -x 'LAUNCHER_TEMP_EXE_FOLDER*' "$unpacked/TessaloomLauncher/Game/TessaloomLauncher/Release" "$release" |
        sed 's/^/         /'
}
is_uninstalled() { [[ ! -e $tree/unins000.exe && ! -e $tree/Game ]]; }
# The file that the update laid beside "Game" is not the setup program's.
others_are_untouched() { [[ $(ls -A "$tree") == readme.txt && -e $sample/beside.txt ]]; }
game_has_ended() { ! pgrep -f '[\\/]Tessaloom.exe' >/dev/null; }
entries_are_gone() {
    ! wine64 reg query "$entry" >/dev/null 2>&1 && [[ -z $(find "$WINEPREFIX/drive_c/users" -name 'Tessaloom*.lnk') ]]
}

# --- The launcher ---

# By the shortcut's own target and folder, whatever the current folder is. Nothing of this system's Qt or compiler is in
# reach: the relay and its copy find their libraries beside themselves.
start_by_shortcut() { start_launcher env -C / wine64 start "$shortcut"; }
# Lets Windows' TLS accept the server of the patch notes.
trust_server() {
    local program=$temporary/trustcertificate
    x86_64-w64-mingw32-g++-posix -static -o "$program.exe" tests/support/windows/trustcertificate.cpp -lcrypt32 &&
        openssl x509 -in "$server/certificate.pem" -outform DER -out "$program.der" &&
        wine64 "$program.exe" "$(wine_path "$program.der")" </dev/null
}

play_road() {
    local list foreign=$sample/foreign long
    say "Sample game"
    make_published_tree
    # The game needs libraries too.
    cp -r "$published/Game/TessaloomLauncher/Release"/{*.dll,platforms} "$published/$game/"
    # The list maker for Windows finds its libraries beside itself.
    list=$(wine_path "$published/List.txt")
    wine64 "$unpacked/TessaloomPublisher/make-list.exe" "$(wine_path "$published")" -o "$list" </dev/null \
        >"$sample/make-list.log" 2>&1 || give_up "make-list failed." "Look into $sample/make-list.log."
    start_server 8m
    trust_server || give_up "The server's certificate is not trusted."

    say "Setup"
    long=$sample/$(printf '%0140d' 0)
    mkdir -p "$foreign"
    touch "$foreign/holiday.jpg" "$sample/beside.txt"
    setup_runs_on win7
    verify "setup refuses Windows 7" refuses "$tree" "needs Windows 8"
    setup_runs_on win10
    verify "setup refuses a folder with a foreign file" refuses "$foreign" "holds holiday.jpg"
    verify "and one whose path is too long" refuses "$long" "at most 140"
    verify "setup installs silently" run_setup "$tree"
    # The published launcher is another one: it is not signed.
    expect_requests List.txt List.txt

    say "Road"
    start_by_shortcut
    watch_update
    # Wine's ShellExecute waits until the new program is idle, and Windows' does not: so the new launcher meets the old
    # one and ends it, and its exit code says nothing here.
    verify_within 180 "the launcher fetched another version of itself, and has ended" ended "$launcherPid"
    wait_for_play || give_up "The new launcher did not start." "Look into $sample/launcher.log."
    verify_first_tab page_is_visible
    verify "the patch notes came over HTTPS" page_was_fetched
    verify_update
    verify "the update spared the uninstaller, which is signed" is_signed "$tree/unins000.exe"
    verify "setup refuses while the launcher is open" refuses "$tree" "TessaloomLauncher.exe is running"
    press_play
    verify_play
    wait_for 20 game_has_ended || true
    verify_within 30 "setup once more brings its launcher back" run_setup "$tree"
    verify "with all of its files" installed_launcher_is_of_the_package
    wine64 "$tree/unins000.exe" /S </dev/null >/dev/null 2>&1 || true
    verify_within 60 "uninstalled, the game is gone" is_uninstalled
    verify "and the entries and shortcuts with it" entries_are_gone
    verify "and no file beside \"Game\" or beside the root" others_are_untouched
}
