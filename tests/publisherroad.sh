#!/bin/bash
# publisherroad.sh MAKE_LIST CHECK_SERVER: tries check-server on nginx in the ways in which servers are set up wrongly, and
# the command lines of both programs. The exit code is 0 only if every point held.
set -euo pipefail
script=$(readlink -f "$0")
makeList=$(readlink -f "$1")
checkServer=$(readlink -f "$2")
. "$(dirname "$script")/../scripts/common.sh"
sampleServer=$PWD/tools/sampleserver
cd "$temporary"
# The messages that are compared are those of no language. Names outside ASCII come through there too.
export LC_ALL=C
port=18573
base=http://127.0.0.1:$port
silentPort=18574
need_ports $port $silentPort

# A server that takes connections and never answers. Its check takes half a minute, so all that follows goes on beside it.
perl -MIO::Socket::INET -e '
    my $server = IO::Socket::INET->new(Listen => 5, LocalAddr => "127.0.0.1", LocalPort => $ARGV[0]) or die $!;
    sleep' "$silentPort" &
started+=($!)
wait_for 10 port_answers $silentPort || give_up "Nothing listens on port $silentPort."
"$checkServer" http://127.0.0.1:$silentPort >silent.txt 2>&1 </dev/null &
silentCheck=$!

# expect CODE WHAT COMMAND...: verifies the exit code, and compares the command's output with this function's input.
expect() {
    local expected=$1 what=$2 code=0
    "${@:3}" >answer.txt 2>&1 </dev/null || code=$?
    ((code == expected)) || echo "exit code $code" >>answer.txt
    verify "$what" diff - answer.txt
}

# --- The list ---

mkdir -p tree/Game/TessaloomLauncher/Release tree/Game/Tessaloom/Code/Current/Release
for file in Game/TessaloomLauncher/Release/TessaloomLauncher.exe Game/Tessaloom/Code/Current/Release/Tessaloom.exe \
    'Game/100% Wool.map' 'Game/Brücke + Fluß.map' Game/page.txt Game/notes.txt; do
    yes "$file" | head -n 2000 >"tree/$file" || true
done
"$makeList" tree -o tree/List.txt 2>/dev/null

# --- The server ---

# A copy of the tree for each thing that can be wrong.
for case in good missing gone refused changed truncated redirected garbled half; do
    cp -r tree "$case"
done
rm missing/Game/notes.txt
tr '[:lower:]' '[:upper:]' <tree/Game/notes.txt >changed/Game/notes.txt
head -c 100 tree/Game/notes.txt >truncated/Game/notes.txt
head -n 8 tree/List.txt >half/List.txt
echo odd >garbled/Game/%41.txt
"$makeList" garbled -o garbled/List.txt 2>/dev/null

cp "$sampleServer/temporary.conf" .
cat >nginx.conf <<EOF
events {}
http {
    access_log off;
    default_type application/octet-stream;
    include temporary.conf;
    server {
        listen 127.0.0.1:$port;
        root $temporary;
        location = /gone/Game/notes.txt { return 410; }
        location = /refused/Game/notes.txt { return 403; }
        location = /redirected/Game/notes.txt { return 301 /good/Game/notes.txt; }
        location = /page/List.txt { default_type text/html; return 200 "<html>Welcome</html>"; }
    }
}
EOF
start_nginx "$temporary" $port

# finding WHAT CASE SUMMARY FINDING [OPTION]: verifies what check-server finds in this case.
finding() {
    expect 1 "$1" "$checkServer" "$base/$2/" "${@:5}" <<EOF
$4
check-server: $base/$2/: $3
EOF
}
one="6 files checked, 1 finding"
none="no file checked, since there is no list to go by"
finding "a file that is missing" missing "$one" 'Game\notes.txt: missing (404 Not Found)'
finding "the same by heads" missing "6 files checked by length, 1 finding" \
    'Game\notes.txt: missing (404 Not Found)' --quick
finding "a file that is gone for good" gone "$one" 'Game\notes.txt: missing (410 Gone)'
finding "a file that is not for everybody" refused "$one" 'Game\notes.txt: refused (403 Forbidden)'
finding "a file that has changed" changed "$one" \
    'Game\notes.txt: other content: its digest is not that of the list'
finding "a file that is truncated" truncated "6 files checked by length, 1 finding" \
    'Game\notes.txt: other size: 100 bytes instead of 30000' --quick
finding "a redirect" redirected "$one" \
    "Game\\notes.txt: redirected (301 Moved Permanently, to $base/good/Game/notes.txt): the launcher does not follow it, and writes the page that comes instead into the file"
finding "a name that an address changes" garbled "7 files checked, 1 finding" \
    'Game\%41.txt: the launcher asks for "/garbled/Game/A.txt" instead: missing (404 Not Found)'
finding "half a list" half "$none" \
    'List.txt: an invalid list (it has 7 records, and its line "#records#" gives another number): every launcher refuses it'
finding "no list" nowhere "$none" "List.txt: missing (404 Not Found)"
finding "another page" page "$none" "List.txt: no list but something else (text/html): every launcher refuses it"
end_of_silent_check() {
    local code=0
    wait "$silentCheck" || code=$?
    cat silent.txt
    return "$code"
}
expect 1 "a server that never answers" end_of_silent_check <<EOF
List.txt: no answer for 30 seconds
check-server: http://127.0.0.1:$silentPort/: ended, since the server sent nothing for 30 seconds: 0 of 0 files checked, 1 finding
EOF
kill "${started[@]}"
wait "${started[@]}" || true
started=()
finding "no server" good "$none" "List.txt: no answer: Connection refused"

# --- The command lines ---

codes=
while read -ra arguments; do
    code=0
    "${arguments[@]}" >/dev/null 2>&1 </dev/null || code=$?
    codes+="$code "
done <<EOF
$makeList tree more
$makeList --bogus
$makeList tree -o
$checkServer
$checkServer host
$checkServer ftp://host/
$checkServer https://127.0.0.1:1/
$checkServer http://host/?a
$makeList tree -o tree
$makeList tree -o nowhere/list.txt
$makeList nowhere
$makeList --help
$checkServer --version
EOF
names_exit_codes() { [[ $("$1" --help) == *"Exit code 0: "*"1: "*"2: wrong usage."* ]]; }
verify "make-list's help names the exit codes" names_exit_codes "$makeList"
verify "and check-server's too" names_exit_codes "$checkServer"
verify "the version is told" grep -qx 'check-server [0-9.]*' <("$checkServer" --version)
expect 2 "an unset variable for a tree is wrong usage" "$makeList" "" <<'EOF'
Usage: make-list TREE [-o FILE]
EOF
expect 2 "and one for the list" "$makeList" tree -o "" <<'EOF'
make-list: The name of FILE is empty
Usage: make-list TREE [-o FILE]
EOF
verify "exit codes tell wrong usage from a tree that can't be listed" test "$codes" = "2 2 2 2 2 2 1 2 1 1 1 0 0 "

finish
