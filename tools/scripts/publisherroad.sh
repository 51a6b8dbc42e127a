#!/bin/bash
# publisherroad.sh MAKE_LIST CHECK_SERVER: the publisher's two programs as he uses them. Lists a tree over an older list,
# through ends and full disks, then serves it by nginx, well and in the ways in which servers are set up wrongly.
# The exit code is 0 only if every point held.
set -euo pipefail
script=$(readlink -f "$0")
makeList=$(readlink -f "$1")
checkServer=$(readlink -f "$2")
. "$(dirname "$script")/common.sh"
cd "$temporary"
# The messages that are compared are those of no language.
export LC_ALL=C.UTF-8

answer=
# ask COMMAND...: what it says on both its outputs, and then its exit code.
ask() {
    local code=0
    "$@" >answer.txt 2>&1 || code=$?
    answer=$(cat answer.txt && echo "exit code $code")
}
# said: compares the answer with what is expected.
said() { diff - <(echo "$answer") | sed 's/^/         /' && ((PIPESTATUS[0] == 0)); }

# --- The list ---

mkdir -p tree/Game/TessaloomLauncher/Release tree/Game/Tessaloom/Code/Current/Release
for file in Game/TessaloomLauncher/Release/TessaloomLauncher.exe Game/Tessaloom/Code/Current/Release/Tessaloom.exe \
    'Game/100% Wool.map' 'Game/Brücke + Fluß.map' Game/page.txt Game/notes.txt; do
    yes "$file" | head -n 2000 >"tree/$file" || true
done
ask "$makeList" tree -o tree/List.txt
verify "a list is written into its tree" said <<'EOF'
make-list: warning: Game\Brücke + Fluß.map: a name outside ASCII needs Windows 10 1903 or later
exit code 0
EOF
cp tree/List.txt first.txt
ask "$makeList" tree -o tree/List.txt
ask cmp tree/List.txt first.txt
verify "a second one over it is the same" said <<<"exit code 0"

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
ask list_into_a_full_disk
verify "where the disk is full, the old list stays" said <<'EOF'
make-list: error: out.txt: File too large
old list
exit code 0
EOF
broken=0
for round in {1..30}; do
    cp old.txt out.txt
    env --default-signal=INT "$makeList" many -o out.txt 2>/dev/null &
    sleep "0.0$((RANDOM % 30 + 10))"
    kill -"$([[ $((round % 3)) == 0 ]] && echo KILL || echo INT)" $! 2>/dev/null || true
    wait $! 2>/dev/null || true
    # Nothing can clean up after KILL. Some disks then keep the file that was being written.
    ((round % 3 > 0)) || rm -f out.txt.*
    cmp -s out.txt old.txt || cmp -s out.txt new.txt || broken=$((broken + 1))
done
ask echo "$broken broken lists of 30, and $(find . -maxdepth 1 -name 'out.txt.*' | wc -l) files beside them"
verify "ended at any moment, one list or the other is there" said <<'EOF'
0 broken lists of 30, and 0 files beside them
exit code 0
EOF

# --- The server ---

# A copy of the tree for each thing that can be wrong.
for case in good missing changed truncated redirected garbled packed chunked unknown; do cp -r tree "$case"; done
rm missing/Game/notes.txt
tr '[:lower:]' '[:upper:]' <tree/Game/notes.txt >changed/Game/notes.txt
head -c 100 tree/Game/notes.txt >truncated/Game/notes.txt
echo odd >garbled/Game/%41.txt
"$makeList" garbled -o garbled/List.txt 2>/dev/null

# nginx gives up the rights of root where it has them, and could then not read this folder.
user=
((EUID != 0)) || user="user $(id -un) $(id -gn);"
mkdir temp
write_configuration() {
    cat >nginx.conf <<EOF
$user
daemon off;
pid nginx.pid;
error_log error.log;
events {}
http {
    access_log off;
    default_type application/octet-stream;
    client_body_temp_path temp;
    proxy_temp_path temp;
    fastcgi_temp_path temp;
    uwsgi_temp_path temp;
    scgi_temp_path temp;
    server {
        listen 127.0.0.1:$1;
        root $temporary;
        location = /redirected/Game/notes.txt { return 301 /good/Game/notes.txt; }
        location = /packed/Game/notes.txt { gzip on; gzip_types *; }
        # As for every answer that is made while it is sent.
        location = /chunked/List.txt { ssi on; ssi_types *; }
        location = /unknown/List.txt { ssi on; ssi_types *; chunked_transfer_encoding off; }
        location = /page/List.txt { default_type text/html; return 200 "<html>Welcome</html>"; }
    }
}
EOF
}
start_server() {
    write_configuration "$port"
    nginx -p "$temporary" -e error.log -c nginx.conf &
    server=$!
    started+=("$server")
    # Another program may have taken the port.
    wait_for 10 eval "port_answers $port || ! kill -0 $server 2>/dev/null" && kill -0 "$server" 2>/dev/null
}
for _ in {1..20}; do
    port=$((20000 + RANDOM % 10000))
    ! port_answers "$port" && start_server && break
done
port_answers "$port" || give_up "nginx did not start." "$(cat error.log)"

# check CASE OPTION...: the addresses in the answer without the port, which is another one each time.
check() {
    local case=$1
    shift
    ask "$checkServer" "http://127.0.0.1:$port/$case" "$@"
    answer=${answer//127.0.0.1:$port/host}
}
check good
verify "a good server" said <<'EOF'
check-server: http://host/good/: 6 files checked, all as the list says
exit code 0
EOF
check good/List.txt --quick
verify "the same by heads alone, from the list's address" said <<'EOF'
check-server: http://host/good/: 6 files checked by length, all as the list says
exit code 0
EOF
check missing
verify "a file that is missing" said <<'EOF'
Game\notes.txt: missing (404 Not Found)
check-server: http://host/missing/: 6 files checked, 1 finding
exit code 1
EOF
check missing --quick
verify "the same by heads" said <<'EOF'
Game\notes.txt: missing (404 Not Found)
check-server: http://host/missing/: 6 files checked by length, 1 finding
exit code 1
EOF
check changed
verify "a file that has changed" said <<'EOF'
Game\notes.txt: other content: its digest is not that of the list
check-server: http://host/changed/: 6 files checked, 1 finding
exit code 1
EOF
check truncated --quick
verify "a file that is truncated" said <<'EOF'
Game\notes.txt: other size: 100 bytes instead of 30000
check-server: http://host/truncated/: 6 files checked by length, 1 finding
exit code 1
EOF
check redirected
verify "a redirect" said <<EOF
Game\\notes.txt: redirected (301 Moved Permanently, to http://host/good/Game/notes.txt): the launcher does not follow, and takes the page that comes instead for the file
check-server: http://host/redirected/: 6 files checked, 1 finding
exit code 1
EOF
check garbled
verify "a name that an address changes" said <<'EOF'
Game\%41.txt: the launcher asks for "/garbled/Game/A.txt" instead: missing (404 Not Found)
check-server: http://host/garbled/: 7 files checked, 1 finding
exit code 1
EOF
check packed
verify "a packed file" said <<'EOF'
Game\notes.txt: packed as gzip, so its length is lost: the launcher can't tell a broken transfer from a complete one
check-server: http://host/packed/: 6 files checked, 1 finding
exit code 1
EOF
check chunked
verify "a list in chunks" said <<'EOF'
List.txt: sent in chunks, without its length: the launcher can't tell a broken transfer from a complete one
check-server: http://host/chunked/: 6 files checked, 1 finding
exit code 1
EOF
check unknown
verify "a list that ends where the connection does" said <<'EOF'
List.txt: sent without its length: the launcher can't tell a broken transfer from a complete one
check-server: http://host/unknown/: 6 files checked, 1 finding
exit code 1
EOF
check nowhere
verify "no list" said <<'EOF'
List.txt: missing (404 Not Found)
check-server: http://host/nowhere/: no file checked, since there is no list to go by
exit code 1
EOF
check page
verify "another page" said <<'EOF'
List.txt: no list but something else (text/html): every launcher refuses it
check-server: http://host/page/: no file checked, since there is no list to go by
exit code 1
EOF
kill "$server"
wait "$server" || true
started=()
check good
verify "no server" said <<'EOF'
List.txt: no answer: Connection refused
check-server: http://host/good/: no file checked, since there is no list to go by
exit code 1
EOF

# --- The command lines ---

codes=
while read -ra arguments; do
    ask "${arguments[@]}"
    codes+="${answer##*exit code } "
done <<EOF
$makeList tree more
$makeList --bogus
$makeList tree -o
$checkServer
$checkServer host
$checkServer ftp://host/
$checkServer http://host/?a
$makeList tree -o tree
$makeList tree -o nowhere/list.txt
$makeList nowhere
$makeList --help
$checkServer --version
EOF
answer=$codes
verify "exit codes tell wrong usage from a tree that can't be listed" said <<<"2 2 2 2 2 2 2 1 1 1 0 0 "

finish
