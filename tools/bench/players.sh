# shellcheck shell=bash
# The rows of ./bench players: what nginx on this machine gives to a crowd that a load generator plays, and to real
# launchers in it. ./bench sources it. The figures in docs/serving.md are its own.

crowd=$sample/crowd
players=http://127.0.0.1:$httpPort
rounds=3

# crowd_server [SETTING=VALUE]...: starts nginx with the settings of docs/serving.md but for these.
crowd_server() {
    local processes=auto connections=8192 handles=32768 backlog=4096 sendfile=on
    (($# == 0)) || local "$@"
    cat >"$crowd/nginx.conf" <<END
worker_processes $processes;
worker_rlimit_nofile $handles;
events { worker_connections $connections; }
http {
    access_log off;
    default_type application/octet-stream;
    include temporary.conf;
    sendfile $sendfile;
    server {
        listen 127.0.0.1:$httpPort backlog=$backlog;
        root $crowd;
        location /LatestVersion/ { alias $crowd/medium/; }
        location = /list/List.txt { gzip_static on; }
    }
}
END
    : >"$crowd/error.log"
    start_nginx "$crowd" "$httpPort" 2>>"$build/bench.log"
}
end_crowd_server() {
    kill "${started[-1]}"
    wait "${started[-1]}" 2>/dev/null || true
    unset 'started[-1]'
}
# crowd_of PLAYERS SECONDS TREE [FILE [PACKING]]: prints what crowd.lua does.
crowd_of() {
    wrk -t 2 -c "$1" -d "$2" --timeout 20 -s "$project/tools/bench/crowd.lua" "$players/$3/" -- "$crowd/$3/List.txt" "${@:4}"
}
# best_rate PLAYERS TREE...: the best of some rounds, since other programs of the machine only ever take from it.
best_rate() {
    local round
    for ((round = 0; round < rounds; ++round)); do crowd_of "$1" 2 "${@:2}" | value rate; done | sort -g | tail -n 1
}
# rate_row NAME TREE...: files a second for each size of the crowd.
rate_row() {
    local cells=("$1") count
    for count in 15 150 1500; do cells+=("$(printf '%.0f' "$(best_rate $count "${@:2}")")"); done
    row "${cells[@]}"
}
overflows() { nstat -asz TcpExtListenOverflows 2>/dev/null | awk '/ListenOverflows/ { print $2 }'; }
# limit_row NAME TREE [SETTING=VALUE]...: what 1,500 players meet where the server is set so.
limit_row() {
    local said before after
    crowd_server "${@:3}"
    before=$(overflows)
    said=$(crowd_of 1500 3 "$2")
    after=$(overflows)
    end_crowd_server
    row "$1" "$(echo "$said" | value good)" "$(echo "$said" | value error_read)" "$(echo "$said" | value error_status)" \
        "$((after - before))"
}

mkdir -p "$crowd"
cp "$project/tools/sampleserver/temporary.conf" "$crowd"
# crowd_tree NAME COUNT SIZE
crowd_tree() {
    mkdir -p "$crowd/$1/Game/"{data,TessaloomLauncher/Release}
    random 0 $(($2 * $3)) | split -b "$3" -a 4 --additional-suffix=.dat - "$crowd/$1/Game/data/file"
    cp "$plain/TessaloomLauncher.exe" "$crowd/$1/Game/TessaloomLauncher/Release"
    "$build/make-list" "$crowd/$1" -o "$crowd/$1/List.txt" 2>/dev/null
    gzip -kf9 "$crowd/$1/List.txt"
}
crowd_tree small 4000 $((4 * KiB))
crowd_tree medium 1000 $((64 * KiB))
crowd_tree large 100 $MiB
crowd_tree list 20000 32

say "Files a second, best of $rounds rounds, the crowd on the same processors"
row "players at once" 15 150 1,500
row --- ---: ---: ---:
crowd_server
rate_row "files of 4 KiB" small
rate_row "files of 64 KiB" medium
rate_row "files of 1 MiB" large
rate_row "list of 20,000 files, $(stat -c %s "$crowd/list/List.txt") bytes" list List.txt
rate_row "the same packed, $(stat -c %s "$crowd/list/List.txt.gz") bytes" list List.txt gzip
end_crowd_server

say "1,500 players at once in 3 seconds, who come back at once when they are refused"
row setting "files that came" "connections closed" "errors as answers" "connections put off"
row --- ---: ---: ---: ---:
limit_row "as recommended, 4 KiB" small
limit_row "one process" small processes=1
limit_row "backlog 128" small backlog=128
limit_row "backlog 511, nginx's own" small backlog=511
limit_row "768 connections a process, Debian's" small connections=768
limit_row "1,024 file handles a process" small handles=1024
limit_row "as recommended, 1 MiB" large
limit_row "without sendfile, 1 MiB" large sendfile=off
limit_row "768 connections a process, 1 MiB" large connections=768

# --- Real launchers ---

arrived() { find "$crowd"/player*/Game/data -type f -size 64k 2>/dev/null | wc -l || true; }
# launchers_row NAME [SETTING=VALUE]...: eight launchers with nothing but themselves fetch 1,000 files of 64 KiB each while
# 1,500 players do. Each has a process table of its own, since launchers end each other. Ends when all is there, or when
# nothing has come for 30 seconds.
launchers_row() {
    local i first count last=0 quiet=0 start complete=0
    crowd_server "${@:2}"
    first=${#started[@]}
    crowd_of 1500 120 medium >/dev/null 2>&1 &
    started+=($!)
    rm -rf "$crowd"/player*
    sleep 2
    start=$EPOCHREALTIME
    for i in {1..8}; do
        mkdir -p "$crowd/player$i/Game/TessaloomLauncher"
        cp -r "$crowd/medium/Game/TessaloomLauncher/Release" "$crowd/player$i/Game/TessaloomLauncher/"
        (cd "$crowd/player$i/Game/TessaloomLauncher/Release" && exec unshare --fork --pid --mount-proc --kill-child \
            sh -c './TessaloomLauncher.exe; sleep 600' >>"$build/bench.log" 2>&1 </dev/null) &
        started+=($!)
    done
    while ((last < 8000 && quiet < 30)); do
        sleep 1
        count=$(arrived)
        if ((count == last)); then quiet=$((quiet + 1)); else quiet=0; fi
        last=$count
    done
    ((quiet == 0)) || start=$(awk -v s="$start" -v q="$quiet" 'BEGIN { printf "%.3f", s + q }')
    for i in {1..8}; do
        ! diff -rq -x 'List.txt*' -x 'LAUNCHER_TEMP_EXE_FOLDER*' "$crowd/medium" "$crowd/player$i" >/dev/null ||
            complete=$((complete + 1))
    done
    row "$1" "$complete of 8" "$last of 8,000" "$(awk -v a="$start" -v b="$EPOCHREALTIME" 'BEGIN { printf "%.0f s", b - a }')"
    kill -KILL "${started[@]:first}" # unshare ignores TERM
    wait "${started[@]:first}" 2>/dev/null || true
    started=("${started[@]:0:first}")
    end_crowd_server
}
say "Eight launchers among 1,500 players"
if ((EUID == 0)); then
    row setting "launchers up to date" "files that came" "until the last one"
    row --- ---: ---: ---:
    launchers_row "as recommended"
    launchers_row "backlog 128" backlog=128
    launchers_row "256 connections a process" connections=256
    launchers_row "64 file handles a process" handles=64
else
    echo "Left out: only root can give a launcher a process table of its own."
fi
