#!/bin/bash
# publisherroad.sh MAKE_LIST CHECK_SERVER: tries the publisher's two programs. Lists a tree over an older list, also when
# the program is ended or the disk is full. Then nginx serves the tree, well and in the ways in which servers are set up
# wrongly. The exit code is 0 only if every point held.
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

# shows_progress FILES LINE PROGRAM ARGUMENT...: true if the program shows so many files and how far it is with them, on a
# terminal and where the locale has a decimal comma, and removes that before it prints the line that begins so.
shows_progress() {
    local said
    said=$(LC_ALL=de_DE.UTF-8 script -qec "$(printf '%q ' "${@:3}")" /dev/null </dev/null)
    [[ $said =~ "$1 files   "[0-9]+%\ +[0-9]+\.[0-9]\ MB/s\ +[0-9]+\ s\ left.*$'\r'\ +$'\r'"$2" ]]
}

# --- The list ---

mkdir -p tree/Game/TessaloomLauncher/Release tree/Game/Tessaloom/Code/Current/Release
for file in Game/TessaloomLauncher/Release/TessaloomLauncher.exe Game/Tessaloom/Code/Current/Release/Tessaloom.exe \
    'Game/100% Wool.map' 'Game/Brücke + Fluß.map' Game/page.txt Game/notes.txt; do
    yes "$file" | head -n 2000 >"tree/$file" || true
done
# What a start in the tree leaves goes without saying.
mkdir tree/Game/TessaloomLauncher/Release/LAUNCHER_TEMP_EXE_FOLDER12
touch tree/Game/TessaloomLauncher/Release/LAUNCHER_TEMP_EXE_FOLDER12/TessaloomLauncher.exe
expect 0 "a list is written into its tree" "$makeList" tree -o tree/List.txt <<'EOF'
make-list: warning: Game\Brücke + Fluß.map: a name outside ASCII needs Windows 10 1903 or later
EOF
cp tree/List.txt first.txt
verify "a second one can be written over it" "$makeList" tree -o tree/List.txt
verify "and is the same" cmp tree/List.txt first.txt

cp -r tree odd
ln -s .. odd/Game/up
ln -s around odd/Game/around
ln -s nowhere odd/Game/dangling
mkfifo odd/Game/pipe
touch 'odd/Game/a\b' $'odd/Game/bell\a.txt' 'odd/Game/ends with a dot.' odd/Game/MyList.txt
expect 1 "what no list can name is refused, and what players would miss is warned of" "$makeList" odd <<'EOF'
make-list: warning: Game\dangling: neither a file nor a directory, left out
make-list: warning: Game\pipe: neither a file nor a directory, left out
make-list: warning: Game\Brücke + Fluß.map: a name outside ASCII needs Windows 10 1903 or later
make-list: warning: Game\MyList.txt: a path that holds "List.txt" is never fetched
make-list: warning: Game\ends with a dot.: Windows drops the dot or blank at the end of a name
make-list: error: Game\a\b: a name with "\", which separates folders
make-list: error: Game\around: can't be read (Too many levels of symbolic links)
make-list: error: Game\up: a link to a folder above it: the tree has no end
make-list: error: Game\bell?.txt: a name with a line end or another control character
EOF

# A hole of a file, which takes time and no space.
mkdir large
truncate -s 600M large/zeros.dat
verify "on a terminal make-list shows its progress" shows_progress "0 / 1" "make-list: " "$makeList" large \
    -o large/List.txt
mkdir lacking
touch lacking/zeros.missing
ln large/zeros.dat lacking/
"$makeList" lacking -o lacking/List.txt 2>/dev/null
rm lacking/zeros.missing

# So that the write takes a while, and none of it fits under the limit below.
mkdir many
for number in {1..300}; do echo "$number" >"many/file$number.txt"; done
"$makeList" many >new.txt 2>/dev/null
echo "old list" >old.txt
list_into_a_full_disk() {
    (trap '' XFSZ && ulimit -f 8 && "$makeList" many -o out.txt 2>&1 | grep error)
    cat out.txt*
}
cp old.txt out.txt
expect 0 "where the disk is full, the old list stays" list_into_a_full_disk <<'EOF'
make-list: error: out.txt: File too large
old list
EOF
list_to_full_device() { "$makeList" tree 2>&1 >/dev/full | grep error && return "${PIPESTATUS[0]}"; }
expect 1 "where standard output is full, this is an error" list_to_full_device <<'EOF'
make-list: error: standard output: the list could not be written in full
EOF
mkfifo pipe
expect 1 "what is no plain file is not replaced" "$makeList" tree -o pipe <<'EOF'
make-list: error: pipe: is not a plain file
EOF
broken=0
left=0
signals=(KILL INT TERM)
for round in {1..30}; do
    cp old.txt out.txt
    env --default-signal=INT "$makeList" many -o out.txt 2>/dev/null &
    sleep "0.0$((RANDOM % 30 + 10))"
    kill -"${signals[round % 3]}" $! 2>/dev/null || true
    wait $! 2>/dev/null || true
    # Nothing can clean up after KILL. Some disks then keep the file that was being written.
    ((round % 3 == 0)) || ! compgen -G 'out.txt.*' >/dev/null || left=$((left + 1))
    rm -f out.txt.*
    cmp -s out.txt old.txt || cmp -s out.txt new.txt || broken=$((broken + 1))
done
verify "ended at any moment, one list or the other is there" test "$broken" = 0
verify "and after Ctrl-C or TERM no file beside it" test "$left" = 0

# --- The server ---

# A copy of the tree for each thing that can be wrong.
for case in good missing gone refused changed truncated redirected garbled packed chunked unknown half; do
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
        location = /packed/Game/notes.txt { gzip on; gzip_types *; }
        # As for every answer that is made while it is sent.
        location = /chunked/List.txt { ssi on; ssi_types *; }
        location = /unknown/List.txt { ssi on; ssi_types *; chunked_transfer_encoding off; }
        location = /page/List.txt { default_type text/html; return 200 "<html>Welcome</html>"; }
    }
}
EOF
start_nginx "$temporary" $port

expect 0 "a good server" "$checkServer" $base/good <<EOF
check-server: $base/good/: 6 files checked, all as the list says
EOF
expect 0 "the same by heads alone, from the list's address" "$checkServer" $base/good/List.txt --quick <<EOF
check-server: $base/good/: 6 files checked by length, all as the list says
EOF
verify "on a terminal check-server shows its progress" shows_progress "0 / 1" "check-server: " "$checkServer" $base/large
verify "and where a file is missing" shows_progress "1 / 2" "zeros.missing: missing" "$checkServer" $base/lacking
# finding WHAT CASE SUMMARY FINDING [OPTION]: verifies what check-server finds in this case.
finding() {
    expect 1 "$1" "$checkServer" "$base/$2/" "${@:5}" <<EOF
$4
check-server: $base/$2/: $3
EOF
}
one="6 files checked, 1 finding"
none="no file checked, since there is no list to go by"
unseen="the launcher can't tell a broken transfer from a complete one"
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
finding "a packed file" packed "$one" "Game\\notes.txt: packed as gzip, so its length is lost: $unseen"
finding "the same by heads" packed "6 files checked by length, 1 finding" \
    "Game\\notes.txt: packed as gzip, so its length is lost: $unseen" --quick
finding "a list in chunks" chunked "$one" "List.txt: sent in chunks, without its length: $unseen"
finding "a list that ends where the connection does" unknown "$one" "List.txt: sent without its length: $unseen"
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
