# shellcheck shell=bash
# The road of ./run with the packages for Windows, under Wine: they are made and signed, then a player installs the game with
# the setup program, updates it, plays, installs once more and uninstalls. ./windows sources it after road.sh.

keys=$temporary/keys
unpacked=$temporary/unpacked
foreign=$sample/foreign
shortcut="C:\\users\\$(id -un)\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs\\Tessaloom Launcher.lnk"

# --- The packages ---

# A run of its own, as a publisher starts it, with the password WORD: dist WORD
dist() {
    echo "$1" >"$keys/password"
    UPDATE_SERVER_HOST=${sampleServers[0]} PATCH_NOTES_HOST=${sampleServers[1]} SIGN_CERTIFICATE=$keys/key.p12 \
        SIGN_PASSWORD_FILE=$keys/password "$script" dist >"$keys/log" 2>&1
}
a_wrong_password_leaves_no_package() {
    ! dist wrong && grep -q 'Wrong password' "$keys/log" && ! compgen -G "$windows/Tessaloom*.*"
}
is_signed() { osslsigncode verify -CAfile "$keys/certificate.pem" -in "$1" >/dev/null 2>&1; }

make_signed_packages() {
    mkdir -p "$keys"
    openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=Tessaloom test" -addext extendedKeyUsage=codeSigning \
        -keyout "$keys/key.pem" -out "$keys/certificate.pem" 2>/dev/null
    openssl pkcs12 -export -inkey "$keys/key.pem" -in "$keys/certificate.pem" -passout pass:right -out "$keys/key.p12"
    say "Packages"
    verify "a wrong password ends dist with its reason and without a package" a_wrong_password_leaves_no_package
    dist right || give_up "The packages were not made." "$(tail "$keys/log")"
    setup=$(echo "$windows"/TessaloomSetup-*.exe)
    unzip -q "$windows/*.zip" -d "$unpacked"
    local file
    for file in "$setup" "$unpacked"/{TessaloomPublisher,"TessaloomLauncher/$launcher"}/*.exe; do
        verify "$(basename "$file") is signed" is_signed "$file"
    done
}

# --- The setup program ---

# run_setup FOLDER: silently. The folder comes last and without quotes, blanks and all.
run_setup() {
    local words
    read -ra words <<<"/D=$(wine_path "$1")"
    timeout 120 wine64 "$setup" /S "${words[@]}" </dev/null 2>/dev/null
}
# The setup program ends with 2, says why, and touches nothing: refuses FOLDER REASON
refuses() {
    local said code=0
    touch "$temporary/before"
    said=$(run_setup "$1") || code=$?
    ((code == 2)) && [[ $said == *"$2"* && -z $(find "$1" -newer "$temporary/before" 2>/dev/null) ]]
}
# The file that the update laid beside "Game" is not the setup program's.
only_foreign_files_are_left() { [[ $(ls -A "$tree") == readme.txt && -e $foreign/holiday.jpg ]]; }
entries_are_gone() {
    ! wine64 reg query 'HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Tessaloom' >/dev/null 2>&1 &&
        [[ -z $(find "$WINEPREFIX/drive_c/users" -name 'Tessaloom*.lnk') ]]
}

# --- The road ---

play_road() {
    say "Sample game"
    make_published_tree
    # The game needs libraries too.
    cp -r "$published/$launcher"/{*.dll,platforms} "$published/$game/"
    # The list maker for Windows finds its libraries beside itself.
    wine64 "$unpacked/TessaloomPublisher/make-list.exe" "$(wine_path "$published")" -o "$(wine_path "$published/List.txt")" \
        </dev/null >"$sample/make-list.log" 2>&1 || give_up "make-list failed." "Look into $sample/make-list.log."
    start_server 8m
    # Windows' TLS has to accept the server of the patch notes.
    x86_64-w64-mingw32-g++-posix -static -o "$temporary/trust.exe" tests/support/windows/trustcertificate.cpp -lcrypt32
    openssl x509 -in "$server/certificate.pem" -outform DER -out "$temporary/trust.der"
    wine64 "$temporary/trust.exe" "$(wine_path "$temporary/trust.der")" </dev/null ||
        give_up "The server's certificate is not trusted."

    say "Setup"
    blob 1 "$foreign/holiday.jpg"
    wine64 winecfg -v win7 </dev/null 2>/dev/null
    verify "setup refuses Windows 7" refuses "$tree" "needs Windows 8"
    wine64 winecfg -v win10 </dev/null 2>/dev/null
    verify "setup refuses a folder with a foreign file" refuses "$foreign" "holds holiday.jpg"
    verify "and one whose path is too long" refuses "$sample/$(printf '%0140d' 0)" "at most 140"
    verify "setup installs silently" run_setup "$tree"
    # The published launcher is another one: it is not signed.
    expect_requests List.txt List.txt

    say "Road"
    # By the shortcut's own target and folder, whatever the current folder is. Nothing of this system's Qt or compiler is in
    # reach: the relay and its copy find their libraries beside themselves.
    start_launcher env -C / wine64 start "$shortcut"
    watch_update
    # Wine's ShellExecute waits until the new program is idle, and Windows' does not: so the new launcher meets the old
    # one and ends it, and its exit code says nothing here.
    verify_within 180 "the launcher fetched another version of itself, and has ended" grep -q "^$launcherPid " "$report"
    wait_for_window
    verify_first_tab
    verify_update
    verify "the update spared the uninstaller, which is signed" is_signed "$tree/unins000.exe"
    verify "setup refuses while the launcher is open" refuses "$tree" "TessaloomLauncher.exe is running"
    press_play
    verify_play
    # It refuses until the game has ended.
    verify_within 30 "setup once more brings its launcher back" run_setup "$tree"
    verify "with all of its files" diff -r -x 'LAUNCHER_TEMP_EXE_FOLDER*' "$unpacked/TessaloomLauncher/$launcher" "$release"
    wine64 "$tree/unins000.exe" /S </dev/null >/dev/null 2>&1 || true
    verify_within 60 "uninstalled, only files beside \"Game\" and beside the root are left" only_foreign_files_are_left
    verify "and the entries and shortcuts are gone" entries_are_gone
}
