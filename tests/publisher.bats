#!/usr/bin/env bats
# make-list where the disk is full or it is ended, and check-server on nginx and real caches, set up in the words of README
# and docs/serving.md, and otherwise. The variables MAKE_LIST, COMPARE_LISTS and CHECK_SERVER hold the programs' full paths.
bats_require_minimum_version 1.5.0
# The messages that are compared are those of no language. Names outside ASCII come through there too.
export LC_ALL=C
project=$BATS_TEST_DIRNAME/..
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
    mkdir many tessaloom-{1,2}
    # The write of their list takes a while, and none of it fits under the limit below.
    touch many/file{1..300}.txt
    "$MAKE_LIST" many >new.txt
    for number in 1 2; do
        seq $((10 ** number)) >tessaloom-$number/changed
        echo $number >tessaloom-$number/stealthy
        touch -d 2026-01-01 tessaloom-$number/stealthy # a web server goes by size and time
        "$MAKE_LIST" tessaloom-$number -o tessaloom-$number/List.txt
        gzip -k9 tessaloom-$number/List.txt
    done
    cat >nginx.conf <<END
# Root gives up its rights where it is nginx, and could then not read a tree below its home.
$( ((EUID != 0)) || echo "user root;")
pid nginx.pid;
events {}
http {
    include $project/tools/sampleserver/temporary.conf;
    log_format asked '\$server_port \$status \$uri \$sent_http_content_encoding';
    access_log asked.log asked;
    proxy_cache_path kept keys_zone=kept:1m;
    proxy_cache kept;
    proxy_cache_revalidate on;
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
    example docs/serving.md 'vcl 4.1' $origin >2.vcl
    sed s/tessaloom-2/tessaloom-1/ 2.vcl >1.vcl
    varnishd -j none -n "$PWD/varnish" -a $varnish -b $hour -P "$PWD/varnish.pid"
    for number in 1 2; do varnishadm -n "$PWD/varnish" vcl.load version$number "$PWD/$number.vcl"; done
}
teardown_file() { kill "$(cat "$BATS_FILE_TMPDIR/nginx.pid")" "$(cat "$BATS_FILE_TMPDIR/varnish.pid")"; }
setup() { cd "$BATS_FILE_TMPDIR" || exit; }

# finds ADDRESS VERSION [LINE...]: check-server finds just this where VERSION should be on line.
finds() {
    local code=$(($# > 2))
    run -$code "$CHECK_SERVER" --list "tessaloom-$2/List.txt" "http://$1/LatestVersion/"
    diff <((($# == 2)) || printf '%s\n' "${@:3}") <(printf '%s\n' "${lines[@]}" | grep -v -e '^check-server: ' -e 'in caches')
}
old=('changed: other size: 21 bytes instead of 292' 'stealthy: other content: its digest is not that of the list')
# finds_old_answers ADDRESS: of a cache that has version 1 when version 2 is on line. The caller can purge a path.
finds_old_answers() {
    version 1
    finds "$1" 1
    version 2
    finds "$1" 2 "List.txt: the server gives out another list than tessaloom-2/List.txt, of 2 files: an older version, or a cache before it" \
        "${old[@]}"
    purge List.txt
    finds "$1" 2 "${old[@]}"
    purge .
    finds "$1" 2
}

@test "what no list can name is refused, and what players would miss is warned of" {
    mkdir odd
    ln -s . odd/up
    mkfifo odd/pipe
    touch odd/{'a\b','Brücke + Fluß.map'}
    run -1 "$MAKE_LIST" odd
    diff - <(echo "$output" | grep -v "not in the tree") <<'EOF'
make-list: warning: pipe: neither a file nor a directory, left out
make-list: warning: Brücke + Fluß.map: a name outside ASCII needs Windows 10 1903 or later
make-list: error: a\b: a name with "\", which separates folders
make-list: error: up: a link to a folder above it: the tree has no end
EOF
}

@test "on a full disk the old list stays" {
    echo "old list" >full.txt
    run -1 bash -c "trap '' XFSZ; ulimit -f 8; '$MAKE_LIST' many -o full.txt"
    [[ $output == *"make-list: error: full.txt: File too large" ]]
    [[ $(cat full.txt*) == "old list" ]]
}

@test "ended at any moment, make-list leaves the one list or the other in its tree, and no file beside it" {
    RANDOM=${SEED:=$RANDOM}
    echo "# seed $SEED" >&3
    met=0
    signals=(KILL TERM)
    start=${EPOCHREALTIME/./}
    "$MAKE_LIST" many -o many/List.txt
    took=$((${EPOCHREALTIME/./} - start)) # microseconds
    for round in {1..30}; do
        echo "old list" >many/List.txt
        "$MAKE_LIST" many -o many/List.txt 2>/dev/null 3>&- &
        sleep "$(printf '0.%06d' $((took * (RANDOM % 70) / 100)))"
        kill -"${signals[round % 2]}" $! 2>/dev/null || true
        wait $! || (($? < 128)) || met=$((met + 1))
        # Nothing can clean up after KILL. Some disks then keep the file that was being written.
        ((round % 2 > 0)) || rm -f many/List.txt.*
        [[ $(echo many/List*) == many/List.txt ]]
        [[ $(cat many/List.txt) == "old list" ]] || cmp many/List.txt new.txt
    done
    ((met >= 3)) # of 30
}

@test "exit code 2 is wrong usage, 1 is what can't be done" {
    while read -r code line; do
        echo "$line"
        run "-$code" bash -c "$line" </dev/null 3>&-
    done <<END
2 "$MAKE_LIST" many more
1 "$MAKE_LIST" many >/dev/full
2 "$COMPARE_LISTS" new.txt nowhere
1 "$COMPARE_LISTS" <(echo "F#a.map#1#x") <(echo "F#A.map#1#x")
2 "$CHECK_SERVER" ftp://host/
0 "$CHECK_SERVER" http://$origin/tessaloom-1/List.txt --quick
0 for tool in "$MAKE_LIST" "$COMPARE_LISTS" "$CHECK_SERVER"; do "\$tool" --help | grep -q "2: wrong usage" || exit; done
END
}

@test "Varnish that keeps answers for an hour is found to give out old ones" {
    purge() { varnishadm -n "$PWD/varnish" ban req.url "~" "$1"; }
    finds_old_answers $varnish
}

@test "and so is nginx's cache" {
    purge() { grep -lrZ "^KEY: .*$1" kept | xargs -0 rm; }
    finds_old_answers $cache
}

@test "a cache that asks again misses a change that leaves size and time" {
    rm -rf kept/*
    version 1
    finds $impatient 1
    version 2
    sleep 2 # it has to ask again after one
    finds $impatient 2 "${old[1]}"
}

@test "README's server: the list packed and no file" {
    version 2
    finds $server 2
    grep -qx "${server#*:} 200 /LatestVersion/List.txt gzip" asked.log
}

@test "Varnish as docs/serving.md has it keeps a version for ever and changes to the next one at once" {
    for number in 1 2 1 2; do
        varnishadm -n "$PWD/varnish" vcl.use version$number
        finds $varnish $number
    done
    (($(grep -c "^${origin#*:} 200 /tessaloom-2/" asked.log) == 3))
}
