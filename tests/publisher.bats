#!/usr/bin/env bats
# make-list where the disk is full and where it is ended, and check-server on nginx and through real caches, set up as
# README and docs/serving.md recommend, in the words that stand there, and otherwise. The environment names the programs in
# MAKE_LIST, COMPARE_LISTS and CHECK_SERVER, by full path. `bats --filter "full disk" tests/publisher.bats` runs one point.
bats_require_minimum_version 1.5.0
# The messages that are compared are those of no language. Names outside ASCII come through there too.
export LC_ALL=C
project=$BATS_TEST_DIRNAME/..
base=http://127.0.0.1:18575
server=127.0.0.1:18576 hour=127.0.0.1:18577 cache=127.0.0.1:18578 origin=127.0.0.1:18579 varnish=127.0.0.1:18580
impatient=127.0.0.1:18581

# example FILE FIRST: the example in this text that begins so, for the tests' folder and addresses.
example() {
    sed -n "/^    $2/,/^[^ ]/s/^    //p" "$project/$1" | sed "s#/srv/#$PWD/#; s#listen 80;#listen $3;#; s#root /srv#root $PWD#
        s#\"origin.example.com\"#\"127.0.0.1\"; .port = \"${3#*:}\"#"
}
# version NUMBER: puts this version on line.
version() { ln -sfn "tessaloom-$1" link && mv -T link tessaloom; }
setup_file() {
    cd "$BATS_FILE_TMPDIR" || exit
    mkdir -p tree/Game/{TessaloomLauncher/Release/LAUNCHER_TEMP_EXE_FOLDER12,Tessaloom/Code/Current/Release}
    # What a start in the tree leaves goes without saying.
    touch tree/Game/TessaloomLauncher/Release/{,LAUNCHER_TEMP_EXE_FOLDER12/}TessaloomLauncher.exe \
        tree/Game/{Tessaloom/Code/Current/Release/Tessaloom.exe,'100% Wool.map','Brücke + Fluß.map'}
    seq 6000 >tree/Game/notes.txt
    "$MAKE_LIST" tree -o tree/List.txt
    for name in packed chunked unknown; do ln -s tree $name; done
    mkdir large lacking many
    # A hole of a file, which takes time and no space.
    truncate -s 600M large/zeros.dat
    "$MAKE_LIST" large -o large/List.txt
    ln large/zeros.dat lacking/
    touch lacking/zeros.missing
    "$MAKE_LIST" lacking -o lacking/List.txt
    rm lacking/zeros.missing
    # The write of their list takes a while, and none of it fits under the limit below.
    touch many/file{1..300}.txt
    "$MAKE_LIST" many >new.txt
    for number in 1 2; do
        mkdir -p tessaloom-$number/Game
        touch tessaloom-$number/Game/only$number
        seq $((10 ** number)) >tessaloom-$number/Game/changed
        echo $number >tessaloom-$number/Game/stealthy
        touch -d 2026-01-01 tessaloom-$number/Game/stealthy # a web server goes by size and time
        "$MAKE_LIST" tessaloom-$number -o tessaloom-$number/List.txt
        gzip -k9 tessaloom-$number/List.txt
    done

    cp "$project/tools/sampleserver/temporary.conf" .
    cat >nginx.conf <<END
# Root gives up its rights where it is nginx, and could then not read a tree below its home.
$( ((EUID != 0)) || echo "user root;")
pid nginx.pid;
events {}
http {
    include temporary.conf;
    log_format asked '\$server_port \$status \$uri \$sent_http_content_encoding';
    access_log asked.log asked;
    proxy_cache_path kept keys_zone=kept:1m;
    proxy_cache kept;
    proxy_cache_revalidate on;
    server {
        listen ${base#http://};
        root $PWD;
        expires -1;
        location = /packed/Game/notes.txt { gzip on; gzip_types *; }
        # As for every answer that is made while it is sent.
        location = /chunked/List.txt { ssi on; ssi_types *; }
        location = /unknown/List.txt { ssi on; ssi_types *; chunked_transfer_encoding off; }
    }
    server { listen $hour; expires 1h; location /LatestVersion/ { alias $PWD/tessaloom/; } }
    server { listen $cache; location / { proxy_pass http://$hour; } }
    server {
        listen $impatient; proxy_ignore_headers Cache-Control Expires; proxy_cache_valid 1s;
        location / { proxy_pass http://$hour; }
    }
    $(example README.md 'server {' $server)
    $(example docs/serving.md 'server {' $origin)
}
END
    nginx -p "$PWD" -e error.log -c nginx.conf
    printf 'vcl 4.1; backend hour { .host = "%s"; .port = "%s"; }' "${hour%:*}" "${hour#*:}" >hour.vcl
    printf 'vcl 4.1; backend server { .host = "%s"; .port = "%s"; }' "${server%:*}" "${server#*:}" >server.vcl
    example docs/serving.md 'vcl 4.1' $origin >2.vcl
    sed s/tessaloom-2/tessaloom-1/ 2.vcl >1.vcl
    varnishd -j none -n "$PWD/varnish" -a $varnish -f "$PWD/hour.vcl" -P "$PWD/varnish.pid"
    for name in server 1 2; do varnishadm -n "$PWD/varnish" vcl.load version$name "$PWD/$name.vcl"; done
}
teardown_file() { kill "$(cat "$BATS_FILE_TMPDIR/nginx.pid")" "$(cat "$BATS_FILE_TMPDIR/varnish.pid")"; }
setup() {
    cd "$BATS_FILE_TMPDIR" || exit
    rm -rf kept/*
    varnishadm -n "$PWD/varnish" ban req.url "~" .
}

# says CODE COMMAND...: verifies the exit code, and compares what the command says with this function's input.
says() {
    local code=0
    "${@:2}" >said.txt 2>&1 3>&- </dev/null || code=$?
    diff - said.txt
    ((code == $1))
}
# shows_progress FILES LINE PROGRAM ARGUMENT...: true if the program shows so many files and how far it is with them, on a
# terminal and where the locale has a decimal comma, and removes that before it prints the line that begins so.
shows_progress() {
    local said
    said=$(LC_ALL=de_DE.UTF-8 script -qec "$(printf '%q ' "${@:3}")" /dev/null </dev/null 3>&-) || true
    [[ $said =~ "$1 files   "[0-9]+%\ +[0-9]+\.[0-9]\ MB/s\ +[0-9]+\ s\ left.*$'\r'\ +$'\r'"$2" ]]
}

# finds ADDRESS VERSION [LINE...]: check-server finds just this where VERSION should be on line.
finds() {
    local code=$(($# > 2))
    run -$code "$CHECK_SERVER" --list "tessaloom-$2/List.txt" "http://$1/LatestVersion/"
    echo "$output"
    diff <((($# == 2)) || printf '%s\n' "${@:3}") <(printf '%s\n' "${lines[@]}" | grep -v -e '^check-server: ' -e 'in caches')
}
old=('Game\changed: other size: 21 bytes instead of 292' 'Game\stealthy: other content: its digest is not that of the list')
# finds_old_answers ADDRESS: in the three states of a cache that has version 1 when version 2 is on line. The
# caller has a function that purges a path.
finds_old_answers() {
    version 1
    finds "$1" 1
    version 2
    finds "$1" 2 "List.txt: the server gives out another list than tessaloom-2/List.txt, of 3 files: an older version, or a cache before it" \
        "${old[@]}"
    purge List.txt
    finds "$1" 2 "${old[@]}"
    purge .
    finds "$1" 2
}

@test "what no list can name is refused, and what players would miss is warned of" {
    cp -r tree odd
    ln -s .. odd/Game/up
    ln -s around odd/Game/around
    ln -s nowhere odd/Game/dangling
    mkfifo odd/Game/pipe
    touch 'odd/Game/a\b'
    says 1 "$MAKE_LIST" odd <<'EOF'
make-list: warning: Game\dangling: neither a file nor a directory, left out
make-list: warning: Game\pipe: neither a file nor a directory, left out
make-list: warning: Game\Brücke + Fluß.map: a name outside ASCII needs Windows 10 1903 or later
make-list: error: Game\a\b: a name with "\", which separates folders
make-list: error: Game\around: can't be read (Too many levels of symbolic links)
make-list: error: Game\up: a link to a folder above it: the tree has no end
EOF
}

@test "on a full disk the old list stays" {
    echo "old list" >full.txt
    list_into_a_full_disk() (trap '' XFSZ && ulimit -f 8 && "$MAKE_LIST" many -o full.txt)
    run -1 list_into_a_full_disk
    [[ $output == *"make-list: error: full.txt: File too large" ]]
    [[ $(cat full.txt*) == "old list" ]]
}

@test "a full standard output is an error, and so is a pipe for FILE" {
    list_to_a_full_device() { "$MAKE_LIST" many >/dev/full; }
    run -1 list_to_a_full_device
    [[ $output == *"make-list: error: standard output: the list could not be written in full" ]]
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

@test "on a terminal both programs show their progress" {
    shows_progress "0 / 1" "make-list: " "$MAKE_LIST" large -o large/List.txt
    shows_progress "0 / 1" "check-server: " "$CHECK_SERVER" $base/large
    shows_progress "1 / 2" "zeros.missing: missing" "$CHECK_SERVER" $base/lacking
}

@test "a good server has no finding by heads alone, asked by the address of the list" {
    says 0 "$CHECK_SERVER" $base/tree/List.txt --quick <<<"check-server: $base/tree/: 5 files checked by length, all as the list says"
}

@test "an answer without its length is found" {
    for said in 'packed/ Game\notes.txt: packed as gzip, so its length is lost' \
        'chunked/ List.txt: sent in chunks, without its length' 'unknown/ List.txt: sent without its length'; do
        run -1 "$CHECK_SERVER" "$base/${said%% *}"
        [[ ${lines[0]} == "${said#* }: the launcher can't tell a broken transfer from a complete one" ]]
        [[ $output == *", 1 finding" ]]
    done
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

@test "Varnish that keeps answers for an hour is found to give out old ones" {
    purge() { varnishadm -n "$PWD/varnish" ban req.url "~" "$1"; }
    varnishadm -n "$PWD/varnish" vcl.use boot
    finds_old_answers $varnish
}

@test "and so is nginx's cache" {
    purge() { grep -lrZ "^KEY: .*$1" kept | xargs -0 rm; }
    finds_old_answers $cache
}

@test "a cache that asks again misses a change that leaves size and time" {
    version 1
    finds $impatient 1
    version 2
    sleep 2 # it has to ask again after one
    finds $impatient 2 "${old[1]}"
}

@test "README's server: the list packed, no file packed, and nothing kept by a cache" {
    varnishadm -n "$PWD/varnish" vcl.use versionserver
    version 1
    finds $varnish 1
    version 2
    finds $varnish 2
    : >asked.log
    finds $server 2
    grep -qx "${server#*:} 200 /LatestVersion/List.txt gzip" asked.log
    (($(grep -c ' -$' asked.log) == 3))
    curl -s --etag-save tag -o file "http://$server/LatestVersion/Game/changed"
    [[ $(curl -sI --etag-compare tag "http://$server/LatestVersion/Game/changed") == *" 304 "* ]]
}

@test "Varnish as docs/serving.md has it keeps a version for ever and changes to the next one at once" {
    for number in 1 2 1 2; do
        varnishadm -n "$PWD/varnish" vcl.use version$number
        finds $varnish $number
    done
    (($(grep -c "^${origin#*:} 200 /tessaloom-2/" asked.log) == 4))
}
