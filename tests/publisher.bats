#!/usr/bin/env bats
# make-list where the disk is full and where it is ended, and check-server on nginx. The environment names the
# programs in MAKE_LIST, COMPARE_LISTS and CHECK_SERVER. `bats --filter "full disk" tests/publisher.bats` runs single points.
bats_require_minimum_version 1.5.0
# The messages that are compared are those of no language. Names outside ASCII come through there too.
export LC_ALL=C
base=http://127.0.0.1:18575

setup_file() {
    cd "$BATS_FILE_TMPDIR" || exit
    mkdir -p tree/Game/TessaloomLauncher/Release tree/Game/Tessaloom/Code/Current/Release
    for file in Game/TessaloomLauncher/Release/TessaloomLauncher.exe Game/Tessaloom/Code/Current/Release/Tessaloom.exe \
        'Game/100% Wool.map' 'Game/Brücke + Fluß.map' Game/page.txt Game/notes.txt; do
        yes "$file" | head -n 2000 >"tree/$file"
    done
    # What a start in the tree leaves goes without saying.
    mkdir tree/Game/TessaloomLauncher/Release/LAUNCHER_TEMP_EXE_FOLDER12
    touch tree/Game/TessaloomLauncher/Release/LAUNCHER_TEMP_EXE_FOLDER12/TessaloomLauncher.exe
    "$MAKE_LIST" tree -o tree/List.txt
    # A hole of a file, which takes time and no space.
    mkdir large lacking
    truncate -s 600M large/zeros.dat
    ln large/zeros.dat lacking/
    "$MAKE_LIST" large -o large/List.txt
    touch lacking/zeros.missing
    "$MAKE_LIST" lacking -o lacking/List.txt
    rm lacking/zeros.missing
    # The write of their list takes a while, and none of it fits under the limit below.
    mkdir many
    for number in {1..300}; do echo "$number" >"many/file$number.txt"; done
    "$MAKE_LIST" many >new.txt

    cp "$BATS_TEST_DIRNAME/../tools/sampleserver/temporary.conf" .
    cat >nginx.conf <<END
pid nginx.pid;
error_log error.log;
events {}
http {
    access_log off;
    default_type application/octet-stream;
    include temporary.conf;
    server {
        listen ${base#http://};
        location / { alias $PWD/tree/; }
        location /large/ { root $PWD; }
        location /lacking/ { root $PWD; }
        location /packed/ { alias $PWD/tree/; }
        location = /packed/Game/notes.txt { alias $PWD/tree/Game/notes.txt; gzip on; gzip_types *; }
        # As for every answer that is made while it is sent.
        location = /chunked/List.txt { alias $PWD/tree/List.txt; ssi on; ssi_types *; }
        location /chunked/ { alias $PWD/tree/; }
        location = /unknown/List.txt { alias $PWD/tree/List.txt; ssi on; ssi_types *; chunked_transfer_encoding off; }
        location /unknown/ { alias $PWD/tree/; }
    }
}
END
    # Root gives up its rights where it is nginx, and could then not read a tree below its home.
    ((EUID != 0)) || sed -i '1i user root;' nginx.conf
    nginx -p "$PWD" -e error.log -c nginx.conf
}
teardown_file() { kill "$(cat "$BATS_FILE_TMPDIR/nginx.pid")"; }
setup() { cd "$BATS_FILE_TMPDIR" || exit; }

# says CODE COMMAND...: verifies the exit code, and compares what the command says with this function's input.
says() {
    local code=0
    "${@:2}" >said.txt 2>&1 3>&- </dev/null || code=$?
    diff - said.txt
    ((code == $1))
}
# finds WHERE LINE [OPTION...]: what check-server finds there, before its summary.
finds() {
    run -1 "$CHECK_SERVER" "$base/$1/" "${@:3}"
    diff <(echo "$2") <(echo "${lines[0]}")
    ((${#lines[@]} == 2))
}
# shows_progress FILES LINE PROGRAM ARGUMENT...: true if the program shows so many files and how far it is with them, on a
# terminal and where the locale has a decimal comma, and removes that before it prints the line that begins so.
shows_progress() {
    local said
    said=$(LC_ALL=de_DE.UTF-8 script -qec "$(printf '%q ' "${@:3}")" /dev/null </dev/null 3>&-) || true
    echo "$said"
    [[ $said =~ "$1 files   "[0-9]+%\ +[0-9]+\.[0-9]\ MB/s\ +[0-9]+\ s\ left.*$'\r'\ +$'\r'"$2" ]]
}

@test "a second list can be written over the first, and is the same" {
    cp tree/List.txt first.txt
    says 0 "$MAKE_LIST" tree -o tree/List.txt <<'EOF'
make-list: warning: Game\Brücke + Fluß.map: a name outside ASCII needs Windows 10 1903 or later
EOF
    cmp tree/List.txt first.txt
}

@test "what no list can name is refused, and what players would miss is warned of" {
    cp -r tree odd
    ln -s .. odd/Game/up
    ln -s around odd/Game/around
    ln -s nowhere odd/Game/dangling
    mkfifo odd/Game/pipe
    touch 'odd/Game/a\b' $'odd/Game/bell\a.txt' 'odd/Game/ends with a dot.' odd/Game/MyList.txt
    says 1 "$MAKE_LIST" odd <<'EOF'
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
}

@test "on a full disk the old list stays" {
    echo "old list" >full.txt
    list_into_a_full_disk() (trap '' XFSZ && ulimit -f 8 && "$MAKE_LIST" many -o full.txt)
    run -1 list_into_a_full_disk
    [[ $output == *"make-list: error: full.txt: File too large" ]]
    [[ $(cat full.txt*) == "old list" ]]
}

@test "a full standard output is an error" {
    list_to_a_full_device() { "$MAKE_LIST" many >/dev/full; }
    run -1 list_to_a_full_device
    [[ $output == *"make-list: error: standard output: the list could not be written in full" ]]
}

@test "what is no plain file is not replaced" {
    mkfifo pipe
    run -1 "$MAKE_LIST" tree -o pipe
    [[ $output == "make-list: error: pipe: is not a plain file" ]]
}

@test "ended at any moment, make-list leaves the one list or the other, and no file beside it" {
    RANDOM=${SEED:=$RANDOM}
    met=0
    signals=(KILL INT TERM)
    start=${EPOCHREALTIME/./}
    "$MAKE_LIST" many -o out.txt
    took=$((${EPOCHREALTIME/./} - start)) # microseconds
    for round in {1..30}; do
        echo "old list" >out.txt
        env --default-signal=INT "$MAKE_LIST" many -o out.txt 2>/dev/null 3>&- &
        sleep "$(printf '0.%06d' $((took * (RANDOM % 70) / 100)))"
        kill -"${signals[round % 3]}" $! 2>/dev/null || true
        code=0
        wait $! || code=$?
        ((code < 128)) || met=$((met + 1))
        # Nothing can clean up after KILL. Some disks then keep the file that was being written.
        ((round % 3 > 0)) || rm -f out.txt.*
        echo "seed $SEED, round $round: exit code $code, left $(echo out.txt*)"
        [[ $(echo out.txt*) == out.txt ]]
        [[ $(cat out.txt) == "old list" ]] || cmp out.txt new.txt
    done
    echo "# seed $SEED: $met of 30 signals met a running make-list" >&3
    ((met >= 3))
}

@test "on a terminal make-list shows its progress" {
    shows_progress "0 / 1" "make-list: " "$MAKE_LIST" large -o large/List.txt
}

@test "on a terminal check-server shows its progress" {
    shows_progress "0 / 1" "check-server: " "$CHECK_SERVER" $base/large
    shows_progress "1 / 2" "zeros.missing: missing" "$CHECK_SERVER" $base/lacking
}

@test "a good server has no finding, by content and by heads alone" {
    says 0 "$CHECK_SERVER" $base <<<"check-server: $base/: 6 files checked, all as the list says"
    says 0 "$CHECK_SERVER" $base/List.txt --quick <<<"check-server: $base/: 6 files checked by length, all as the list says"
}

@test "a packed file is found, by content and by heads alone" {
    unseen="the launcher can't tell a broken transfer from a complete one"
    finds packed "Game\notes.txt: packed as gzip, so its length is lost: $unseen"
    finds packed "Game\notes.txt: packed as gzip, so its length is lost: $unseen" --quick
}

@test "a list without its length is found" {
    unseen="the launcher can't tell a broken transfer from a complete one"
    finds chunked "List.txt: sent in chunks, without its length: $unseen"
    finds unknown "List.txt: sent without its length: $unseen"
}

@test "exit code 2 is wrong usage, 1 is what can't be done" {
    while read -r code line; do
        echo "$line"
        run "-$code" bash -c "$line" </dev/null 3>&-
    done <<'END'
2 "$MAKE_LIST" tree more
2 "$MAKE_LIST" --bogus
2 "$MAKE_LIST" ""
2 "$MAKE_LIST" tree -o ""
1 "$MAKE_LIST" tree -o tree
1 "$MAKE_LIST" tree -o nowhere/list.txt
1 "$MAKE_LIST" nowhere
2 "$COMPARE_LISTS" tree/List.txt
2 "$COMPARE_LISTS" tree/List.txt nowhere
2 "$COMPARE_LISTS" tree/List.txt tree/List.txt --rate 0
0 "$COMPARE_LISTS" tree/List.txt tree/List.txt --rate 0.5
1 "$COMPARE_LISTS" tree/List.txt new.txt
2 "$CHECK_SERVER" ftp://host/
2 "$CHECK_SERVER" http://host/?a
2 "$CHECK_SERVER" http://host/ --list nowhere
2 "$CHECK_SERVER" http://host/ --from http://host/
1 "$CHECK_SERVER" https://127.0.0.1:1/
0 "$CHECK_SERVER" --version
0 "$CHECK_SERVER" --help | grep -q "1: something is wrong; 2: wrong usage."
END
}
