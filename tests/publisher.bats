#!/usr/bin/env bats
# The publisher's programs as commands: what they say and where, make-list where the disk is full or it is ended, and
# check-server on nginx and a cache, set up in the words of README and docs/serving.md.
bats_require_minimum_version 1.5.0
# The messages that are compared are those of no language. Names outside ASCII come through there too.
export LC_ALL=C PATH=$PATH:/usr/sbin
project=$(realpath "$BATS_TEST_DIRNAME/..")
: "${MAKE_LIST:=$project/build/make-list}" "${COMPARE_LISTS:=$project/build/compare-lists}"
: "${CHECK_SERVER:=$project/build/check-server}"
server=127.0.0.1:18576 origin=127.0.0.1:18577 varnish=127.0.0.1:18578

# example FILE FIRST ADDRESS: the example in this text that begins so, with the tests' folder for /srv. ADDRESS (host:port)
# is where its server listens, or its backend.
example() {
    sed -n "/^    $2/,/^[^ ]/s/^    //p" "$project/$1" | sed "s#/srv/#$PWD/#; s#listen 80;#listen $3;#; s#root /srv#root $PWD#
        s#\"origin.example.com\"#\"127.0.0.1\"; .port = \"${3#*:}\"#"
}
setup_file() {
    cd "$BATS_FILE_TMPDIR" || exit
    mkdir many
    # The write of their list takes a while, and none of it fits under the limit below.
    touch many/file{1..300}.txt
    "$MAKE_LIST" many >new.txt
    for number in 1 2; do
        mkdir tessaloom-$number
        seq $((10 ** number)) >tessaloom-$number/file.txt
        "$MAKE_LIST" tessaloom-$number -o tessaloom-$number/List.txt
        gzip -k9 tessaloom-$number/List.txt
    done
    ln -s tessaloom-2 tessaloom
    cat >nginx.conf <<END
# Root gives up its rights where it is nginx, and could then not read a tree below its home.
$( ((EUID != 0)) || echo "user root;")
pid nginx.pid;
events {}
http {
    include $project/tools/sampleserver/temporary.conf;
    log_format asked '\$server_port \$status \$uri \$sent_http_content_encoding';
    access_log asked.log asked;
    $(example README.md 'server {' $server)
    $(example docs/serving.md 'server {' $origin)
}
END
    nginx -p "$PWD" -e error.log -c nginx.conf
    example docs/serving.md 'vcl 4.1' $origin >2.vcl
    sed s/tessaloom-2/tessaloom-1/ 2.vcl >1.vcl
    varnishd -j none -n "$PWD/varnish" -a $varnish -f "$PWD/2.vcl" -P "$PWD/varnish.pid"
    for number in 1 2; do varnishadm -n "$PWD/varnish" vcl.load version$number "$PWD/$number.vcl"; done
}
teardown_file() { kill "$(cat "$BATS_FILE_TMPDIR/nginx.pid")" "$(cat "$BATS_FILE_TMPDIR/varnish.pid")"; }
setup() { cd "$BATS_FILE_TMPDIR" || exit; }

# says REDIRECTION: of each line "CODE|COMMAND|TEXT" that comes, the command ends so and says just this.
says() {
    while IFS='|' read -r code command text; do
        echo "$command"
        run "-$code" bash -c "$command $1" </dev/null 3>&-
        diff <(printf '%b\n' "$text") <(echo "$output")
    done
}

@test "what is wrong stands on standard error, and exit code 2 is wrong usage, 1 what can't be done" {
    check="Usage: check-server URL [--list FILE] [--from ADDRESS]... [--quick]"
    says '2>&1 >no-output' <<END
2|"$MAKE_LIST" many more|Usage: make-list TREE [-o FILE]
2|"$MAKE_LIST" many -o ''|make-list: The name of FILE is empty\nUsage: make-list TREE [-o FILE]
1|"$MAKE_LIST" nowhere|make-list: error: nowhere: can't be read (No such file or directory)
1|"$MAKE_LIST" many -o many|make-list: error: many: is a directory
1|"$MAKE_LIST" many -o /dev/full|make-list: error: /dev/full: is not a plain file
1|"$MAKE_LIST" many 3>\&1 >/dev/full 2>\&3 #
2|"$COMPARE_LISTS" . . --rate 0|compare-lists: MBIT is not a number above 0\nUsage: compare-lists OLD NEW [--rate MBIT]
2|"$COMPARE_LISTS" http://h/ .|compare-lists: http://h/: is an address. Fetch the list first: curl -fo List.txt http://h/
2|"$CHECK_SERVER" ftp://host/|check-server: URL is not the address of a web server\n$check
2|"$CHECK_SERVER" http://host/ --from a/b|check-server: ADDRESS is not host or host:port\n$check
2|"$CHECK_SERVER" http://host/ --list nowhere|check-server: nowhere: No such file or directory\n$check
END
    [[ ! -s no-output ]]
}

@test "what was asked for stands on standard output, progress on a terminal, and exit code 1 is something to mend" {
    there=http://$server/LatestVersion/
    mkdir long && touch long/a.x && truncate -s 1G long/b.x # which takes a while
    said="check-server: http://host/LatestVersion/ from $server: 1 file checked, all as the list says"
    says '2>/dev/null' <<END
0|"$MAKE_LIST" --version|make-list $(sed -n 's/^project(.* VERSION \([^ ]*\).*/\1/p' "$project/CMakeLists.txt")
0|grep -q " / 2 files " <(script -qec "'$MAKE_LIST' long >no-output" /dev/null)|
0|"$COMPARE_LISTS" new.txt new.txt|fetched: 0 files, 0 bytes\ndeleted: 0 files, 0 folders\nthe launcher restarts: no\nNothing changes: are these the lists that are meant?
1|"$COMPARE_LISTS" <(echo "F#a.x#1#x") <(echo "F#A.x#1#x") >no-output|
0|"$CHECK_SERVER" --quick http://$server/LatestVersion|check-server: $there: 1 file checked by length, all as the list says
1|"$CHECK_SERVER" --from 127.0.0.1:1 --from $server http://host/LatestVersion/ >no-output|
0|"$CHECK_SERVER" --from $server http://host/LatestVersion/List.txt|$said
1|"$CHECK_SERVER" --list tessaloom-1/List.txt http://127.0.0.1:1/|List.txt: no answer: Connection refused\ncheck-server: http://127.0.0.1:1/: no file checked, since the server does not answer
1|"$CHECK_SERVER" --list tessaloom-1/List.txt $there >no-output|
1|"$MAKE_LIST" tessaloom-1 >/dev/full|
END
    # As README has it, the list came packed.
    grep -q "^${server#*:} 200 /LatestVersion/List.txt gzip" asked.log
    for tool in "$MAKE_LIST" "$COMPARE_LISTS" "$CHECK_SERVER"; do
        [[ $("$tool" --help) == "Usage: "*"Exit code 0: "*"; 1: "*"; 2: wrong usage"* ]]
    done
}

@test "what no list can name is an error, and what players would miss is warned of" {
    mkdir -p odd/sub/{empty,kept}
    ln -s . odd/up
    mkfifo odd/pipe
    truncate -s 2G odd/Large.x # costs no time, since a tree with an error gets no digests
    (cd odd && touch 'a\b' 'a#b.x' $'a\x1f\x7f.x' $'a\xe4.x' COM1.x 50%25.x 'Brücke + (1).x' 'a*.x' 'a.x ' a MyList.txt large.x \
        out.aB3xYz unins000.dat.x sub/b.x sub/kept/unins000.dat "$(printf 'long%.0s' {1..29})".{x,xx})
    run -1 "$MAKE_LIST" odd -o odd/out
    diff - <(echo "$output" | sed 's/\(long\)*\.xx/long.xx/; s/a\xe4/a?/') <<'EOF'
make-list: warning: out.aB3xYz: left out: an unfinished file of an earlier make-list
make-list: warning: pipe: neither a file nor a directory, left out
make-list: warning: 50%25.x: "?" or "%" means something else in an address: the launcher asks for another file
make-list: warning: Brücke + (1).x: a name outside ASCII needs Windows 10 1903 or later
make-list: warning: Large.x: 2 GiB or more: the launcher's amounts and bar are wrong
make-list: warning: MyList.txt: a path that holds "List.txt" is never fetched
make-list: warning: a: no dot in the whole path: a running game then stops every update
make-list: warning: a*.x: Windows can't hold a name with any of < > " | ? *
make-list: warning: a.x : Windows drops the dot or blank at the end of a name
make-list: warning: long.xx: 119 bytes long: in the longest folder that setup takes, only 118 can be written
make-list: warning: unins000.dat.x: left out, since the launcher deletes no file whose path holds "unins000.dat"
make-list: warning: sub\empty: an empty directory is not listed and stays unmanaged
make-list: warning: sub\kept: holds only files that are left out: the launcher may remove it with them
make-list: warning: large.x: differs only in case from Large.x: Windows holds one of them
make-list: warning: Game\TessaloomLauncher\Release\TessaloomLauncher.exe: not in the tree: players who have it lose it
make-list: warning: Game\Tessaloom\Code\Current\Release\Tessaloom.exe: not in the tree: players who have it lose it
make-list: warning: All files together have 2 GiB or more: a player who fetches them all sees wrong amounts
make-list: error: a\b: a name with "\", which separates folders
make-list: error: up: a link to a folder above it: the tree has no end
make-list: error: COM1.x: a name that leads elsewhere on Windows: every launcher would refuse the whole list
make-list: error: a??.x: a name with a line end or another control character
make-list: error: a#b.x: a name with "#", which separates the fields of a list
make-list: error: a?.x: a name that is not UTF-8, which the launcher can't ask for
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
    start=${EPOCHREALTIME/./}
    "$MAKE_LIST" many -o many/List.txt
    took=$((${EPOCHREALTIME/./} - start)) # microseconds
    for round in {1..30}; do
        echo "old list" >many/List.txt
        timeout -s $((round % 2 > 0 ? 15 : 9)) "$(printf '0.%06d' $((took * (1 + RANDOM % 70) / 100)))" \
            "$MAKE_LIST" many -o many/List.txt 2>/dev/null 3>&- || (($? < 124)) || met=$((met + 1))
        # Nothing can clean up after 9, KILL. Some disks then keep the file that was being written.
        ((round % 2 > 0)) || rm -f many/List.txt.*
        [[ $(echo many/List*) == many/List.txt ]]
        [[ $(cat many/List.txt) == "old list" ]] || cmp many/List.txt new.txt
    done
    echo "The end met a running make-list in $met of 30 rounds, and at least 3 are wanted."
    ((met >= 3))
}

@test "Varnish as docs/serving.md has it keeps a version for ever and changes to the next one at once" {
    for number in 1 2 1 2; do
        varnishadm -n "$PWD/varnish" vcl.use version$number
        run -0 "$CHECK_SERVER" --list tessaloom-$number/List.txt http://$varnish/LatestVersion/
    done
    # The rounds of version 2 asked once in all for its list and for its file.
    (($(grep -c "^${origin#*:} 200 /tessaloom-2/" asked.log) == 2))
}
