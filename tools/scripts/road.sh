# What the roads of ./run and ./windows have in common: waiting, verifying, the server, and the window as a picture.
# Sourced by both, behind samplegame.sh; they set `httpPort`, `httpsPort` and `started`, and have give_up.

# wait_for SECONDS COMMAND...: false if the command has not become true in that time.
wait_for() {
    local end=$((SECONDS + $1))
    shift
    until "$@"; do
        ((SECONDS < end)) || return 1
        sleep 0.2
    done
}

verified=0
failed=0
# verify WHAT COMMAND...: says whether the command holds.
verify() {
    local what=$1
    shift
    if "$@"; then
        echo "   ok    $what"
        verified=$((verified + 1))
    else
        echo "   FAIL  $what"
        failed=$((failed + 1))
    fi
}

# Ends the script if another program listens where the sample server will.
need_ports() {
    local port
    for port in $httpPort $httpsPort; do
        if (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; then
            give_up "Port $port of 127.0.0.1 is taken." "The sample server needs $httpPort and $httpsPort: end what listens there ('ss -ltnp' names it)."
        fi
    done
}

start_server() {
    local port
    write_server_configuration $httpPort $httpsPort
    nginx -p "$server" -e error.log -c nginx.conf &
    started+=($!)
    for port in $httpPort $httpsPort; do
        wait_for 10 eval "(exec 3<>/dev/tcp/127.0.0.1/$port) 2>/dev/null" ||
            give_up "nginx does not answer on port $port." "Look into $server/error.log."
    done
    echo "http://127.0.0.1:$httpPort/LatestVersion/ and https://127.0.0.1:$httpsPort/launcher.php"
}

# --- The tree and what was fetched for it ---

tree_equals_list() {
    local directory missing=0
    while IFS= read -r directory; do
        [[ -d $tree/$directory ]] || { echo "         missing directory: $directory"; missing=1; }
    done < <(listed_paths D)
    diff <(listed_files) <(files_in_tree) | sed 's/^/         /'
    ((PIPESTATUS[0] == 0 && missing == 0))
}
left_over_is_gone() { [[ ! -e $tree/Game/Tessaloom/left\ over.txt && ! -e $tree/Game/Tessaloom/Sounds\ of\ version\ 1 ]]; }
requests_as_expected() {
    grep ' /LatestVersion/' "$server/access.log" | LC_ALL=C sort |
        diff "$sample/expected.log" - | sed 's/^/         /'
    ((PIPESTATUS[2] == 0))
}

# --- The window ---

# The launcher's window, of fixed size and without a frame.
window=
find_window() {
    window=$(xdotool search --onlyvisible --name '^Tessaloom Launcher$' 2>/dev/null | head -n 1)
    [[ -n $window ]]
}
take_picture() { import -window "$window" "$1"; }
# brightness PICTURE AREA: mean of the area, 0 to 255
brightness() { convert "$1" -crop "$2" +repage -colorspace gray -format '%[fx:int(mean*255)]' info:; }
# The button is a pale grey as long as it is disabled, and as dark as the window when it can be pressed.
play_is_enabled() {
    take_picture "$sample/now.png" && (($(brightness "$sample/now.png" 10x20+654+415) < 95))
}
# pixels PICTURE COLOUR: how many the tab's page has of it.
pixels() {
    convert "$1" -crop 709x370+12+40 +repage -fuzz 4% -fill black +opaque "$2" -fill white -opaque "$2" \
        -colorspace gray -format '%[fx:int(mean*w*h)]' info:
}
# Pure white on a ground of its own, and none of the gold that the page has.
log_is_visible() {
    take_picture "$sample/now.png"
    (($(pixels "$sample/now.png" white) > 500 && $(pixels "$sample/now.png" '#191919') > 50000 &&
        $(pixels "$sample/now.png" '#ffd873') < 100))
}
press() { xdotool mousemove --window "$window" "$1" "$2" click 1; }
has_its_size() { [[ $(identify -format '%wx%h' "$1") == 733x451 ]]; }
# The large file takes some seconds, so that the meter can be caught.
files_arrive() {
    play_is_enabled && return 0
    (($(grep -c ' /LatestVersion/' "$server/access.log" || true) > 5))
}
