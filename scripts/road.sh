# shellcheck shell=bash
# What ./run and ./windows play: a sample game, a server that publishes it, and an installed launcher that updates to it.
# Sourced after common.sh. The caller sets `build`, where the programs are, `sample`, below which all of this stays,
# `httpPort` and `httpsPort`. ./bench uses the server.

published=$sample/published
# As players name their folders.
tree="$sample/Adas Spiele für zu Hause"
server=$sample/server
home=$sample/home
launcher=Game/TessaloomLauncher/Release
release=$tree/$launcher
game=Game/Tessaloom/Code/Current/Release
pictures=$sample/screenshots
report=$sample/exitcodes
picture=$sample/now.png
serverPackages=(nginx openssl libnss3-tools)
windowPackages=(xvfb xdotool imagemagick g++ procps)

# --- The game and its server ---

# blob KIBIBYTES FILE: random bytes.
blob() {
    mkdir -p "$(dirname "$2")"
    head -c "$1K" /dev/urandom >"$2"
}

# Version 2, as the publisher has it. Names as players have them: blanks, "+", "%", letters outside ASCII.
make_published_tree() {
    rm -rf "$sample"
    mkdir -p "$pictures"
    : >"$report"
    cmake --install "$build" --prefix "$published" >/dev/null
    mkdir -p "$published/$game"
    cp "$build/samplegame/Tessaloom.exe" "$published/$game/"
    echo "version = 2" >"$published/$game/settings.ini"
    echo "Tessaloom, version 2" >"$published/readme.txt"
    blob 40960 "$published/Game/Tessaloom/Textures/textures.pak"
    blob 700 "$published/Game/Tessaloom/Worlds/Hanging Gardens/north + south, 100% wool.map"
    blob 500 "$published/Game/Tessaloom/Worlds/Höhenzug/Brücke über den Fluß.map"
    local number
    for number in {1..24}; do
        blob 64 "$published/Game/Tessaloom/Patterns/Set $((number % 4))/pattern $number.dat"
    done
}

# start_server RATE: starts nginx, with a certificate that is trusted in the folder `home`. It gives out so many bytes
# per second and file; 0: without a limit.
start_server() {
    mkdir -p "$server" "$home/.pki/nssdb"
    openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=Tessaloom sample" \
        -addext "subjectAltName=IP:127.0.0.1" -addext "extendedKeyUsage=serverAuth" \
        -keyout "$server/key.pem" -out "$server/certificate.pem" 2>/dev/null
    certutil -d "sql:$home/.pki/nssdb" -N --empty-password
    certutil -d "sql:$home/.pki/nssdb" -A -t "C,," -n "Tessaloom sample" -i "$server/certificate.pem"
    cp tools/sampleserver/{patchnotes.html,temporary.conf} "$server/"
    sed "s/@RATE@/$1/; s/@HTTP_PORT@/$httpPort/; s/@HTTPS_PORT@/$httpsPort/" \
        tools/sampleserver/nginx.conf.in >"$server/nginx.conf"
    start_nginx "$server" "$httpPort" "$httpsPort"
}

# --- The tree and what was fetched for it ---

# Names what differs. The temporary folders belong to the launcher, "started.txt" to the sample game, "unins000" to setup.
tree_is_as_published() {
    diff -rq -x 'List.txt*' -x 'LAUNCHER_TEMP_EXE_FOLDER*' -x started.txt -x 'unins000.*' "$published" "$tree" | sed 's/^/         /'
}
# expect_requests LIST...: notes what the server should log: each LIST, and once each file that the installed tree lacks
# or has with other content.
expect_requests() {
    local file sent
    { printf '%s\n' "$@"; (cd "$published" && find Game readme.txt -type f); } | while IFS= read -r file; do
        sent=$published/$file
        [[ ! -e $sent.gz ]] || sent+=.gz # the packed list
        cmp -s "$published/$file" "$tree/$file" || echo "GET 200 $(stat -c %s "$sent") /LatestVersion/$file"
    done | LC_ALL=C sort >"$sample/expected.log"
    echo "Installed in version 1: $tree. To be fetched: $(wc -l <"$sample/expected.log") files."
}
requests_as_expected() {
    grep ' /LatestVersion/' "$server/access.log" | LC_ALL=C sort | diff "$sample/expected.log" - | sed 's/^/         /'
}
verify_update() {
    verify "the patch notes came over HTTPS" grep -q '^GET 200 .* /launcher.php$' "$server/access.log"
    verify "the tree is equal to the published one" tree_is_as_published
    verify "each outdated file was asked for once, and nothing else" requests_as_expected
}

# --- The launcher and its window ---

# start_launcher COMMAND...: starts the installed launcher as a player does. A supervisor notes its exit code, and those
# of all processes that it leaves running, and is their parent.
start_launcher() {
    [[ -x $sample/supervise ]] || g++ -O1 -o "$sample/supervise" scripts/supervise.cpp
    (cd "$release" && exec "$sample/supervise" "$report" "$@" >>"$sample/launcher.log" 2>&1 </dev/null) &
    started+=($!)
}
# Sets launcherPid to the running temporary copy.
find_launcher() { launcherPid=$(pgrep -P "${started[-1]}" -f 'LAUNCHER_TEMP_EXE_FOLDER.*TessaloomLauncher'); }
wait_for_launcher() {
    wait_for 60 find_launcher || give_up "The temporary copy of the launcher did not start." "Look into $sample/launcher.log."
}
# Sets `window`.
find_window() {
    window=$(xdotool search --onlyvisible --name '^Tessaloom Launcher$' 2>/dev/null | head -n 1)
    [[ -n $window ]]
}
wait_for_window() {
    wait_for_launcher
    wait_for 60 find_window || give_up "No window came up." "Look into $sample/launcher.log."
}
# Without the window `import` waits for somebody to choose one.
take_picture() { timeout 10 import -window "$window" "$picture"; }
# The button is a pale grey as long as it is disabled, and as dark as the window when it can be pressed. A window that was
# not painted yet is black. The button's upper edge has none of the text, whose width depends on the machine's fonts.
play_is_enabled() {
    local grey
    take_picture &&
        grey=$(convert "$picture" -crop 60x5+656+413 +repage -colorspace gray -format '%[fx:int(mean*255)]' info:) &&
        ((grey > 30 && grey < 95))
}
# pixels COLOUR: how many the tab's page has of it.
pixels() {
    convert "$picture" -crop 709x370+12+40 +repage -fuzz 4% -fill black +opaque "$1" -fill white -opaque "$1" \
        -colorspace gray -format '%[fx:int(mean*w*h)]' info:
}
# The patch notes have a heading in gold, and the log has pure white on a ground of its own.
page_is_visible() { take_picture && (($(pixels '#ffd873') > 300)); }
log_is_visible() { take_picture && (($(pixels white) > 500 && $(pixels '#191919') > 50000)); }
press() { xdotool mousemove --window "$window" "$1" "$2" click 1; }

# --- The steps of the road ---

files_arrive() { (($(grep -c ' /LatestVersion/' "$server/access.log") > 5)); }
# Leaves a picture of the update. The large file takes some seconds, so that it shows the meter.
watch_update() {
    wait_for_window
    wait_for 60 files_arrive || give_up "The update did not begin." "Look into $server/error.log."
    sleep 1
    take_picture
    cp "$picture" "$pictures/downloading.png"
}
verify_first_tab() {
    verify_within 120 "Play is enabled" play_is_enabled
    verify_within 30 "the patch notes are on the first tab" page_is_visible
    verify "the window has 733 by 451 pixels" [ "$(identify -format '%wx%h' "$picture")" = 733x451 ]
    cp "$picture" "$pictures/patch-notes.png"
}
press_play() { press 686 425; }
# The sample game writes the folder from which it was started.
game_started_in_its_folder() {
    grep -qxF -e "Started from $tree/$game" -e "Started from Z:$tree/$game" "$tree/$game/started.txt" 2>/dev/null
}
verify_play() {
    verify_within 60 "the game was started from its own folder" game_started_in_its_folder
    verify_within 20 "the launcher ended with 0" grep -qx "$launcherPid 0" "$report"
}
