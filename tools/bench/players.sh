# shellcheck shell=bash
# The rows of ./bench players: what nginx on this machine gives to a crowd that a load generator plays, and to real
# launchers in it. ./bench sources it. The figures in docs/serving.md are its own.

crowd=$sample/crowd
export NSTAT_HISTORY=$temporary/nstat

# start_crowd_server [SETTING VALUE]: starts nginx as docs/serving.md recommends, but for this setting.
start_crowd_server() {
    sed "s/@HTTP_PORT@/$httpPort/; s/\b\(${1:-none}[ =]\)[^ ;]*/\1${2:-}/" "$project/tools/bench/crowd.conf.in" >"$crowd/nginx.conf"
    cp "$project/tools/sampleserver/temporary.conf" "$crowd"
    start_nginx "$crowd" "$httpPort" 2>>"$build/bench.log"
}
# end_started COUNT [SIGNAL]: ends all but the first so many processes of `started`. Some may have ended by themselves.
end_started() {
    kill "${2:--TERM}" "${started[@]:$1}" 2>/dev/null || true
    wait "${started[@]:$1}" 2>/dev/null || true
    started=("${started[@]:0:$1}")
}
# crowd_of PLAYERS SECONDS TREE [FILE [PACKING]]: prints what crowd.lua does.
crowd_of() {
    wrk -t 2 -c "$1" -d "$2" --timeout 20 -s "$project/tools/bench/crowd.lua" "http://127.0.0.1:$httpPort/$3/" \
        -- "$crowd/$3/List.txt" "${@:4}"
}

publish "$crowd/small" 4000 4K
publish "$crowd/medium" 1000 64K
publish "$crowd/large" 100 1M
publish "$crowd/list" 20000 32
gzip -k9 "$crowd/list/List.txt"

# --- Files a second ---

# rate_row NAME TREE...: for each size of the crowd the best of some rounds, since other programs of the machine only ever
# take from it.
rate_row() {
    local cells=() players round
    for players in 15 150 1500; do
        cells+=("$(for round in {1..3}; do crowd_of "$players" 2 "${@:2}"; done | value rate 1 %.0f | sort -g | tail -n 1)")
    done
    row "$1" "${cells[@]}"
}
say "Files a second, best of 3 rounds, the crowd on the same processors"
row "players at once" 15 150 1,500
row --- ---: ---: ---:
start_crowd_server
rate_row "files of 4 KiB" small
rate_row "files of 64 KiB" medium
rate_row "files of 1 MiB" large
rate_row "list of 20,000 files, $(stat -c %s "$crowd/list/List.txt") bytes" list List.txt
rate_row "the same packed, $(stat -c %s "$crowd/list/List.txt.gz") bytes" list List.txt gzip
end_started 1

# --- One setting worse than recommended ---

# limit_row NAME TREE [SETTING VALUE]: what 1,500 players meet.
limit_row() {
    local said cells=() name
    start_crowd_server "${@:3}"
    nstat -n
    said=$(crowd_of 1500 3 "$2" && nstat -z TcpExtListenOverflows)
    end_started 1
    for name in good error_read error_status TcpExtListenOverflows; do cells+=("$(value $name 1 %d <<<"$said")"); done
    row "$1" "${cells[@]}"
}
say "1,500 players at once in 3 seconds, who come back at once when they are refused"
row setting "files that came" "connections closed" "errors as answers" "connections put off"
row --- ---: ---: ---: ---:
limit_row "as recommended, 4 KiB" small
limit_row "one process" small worker_processes 1
limit_row "backlog 128" small backlog 128
limit_row "backlog 511, nginx's own" small backlog 511
limit_row "768 connections a process, Debian's" small worker_connections 768
limit_row "1,024 file handles a process" small worker_rlimit_nofile 1024
limit_row "as recommended, 1 MiB" large
limit_row "without sendfile, 1 MiB" large sendfile off
limit_row "768 connections a process, 1 MiB" large worker_connections 768

# --- Real launchers ---

# Notes when each file came to a player. True when all are there, or when nothing has come for two minutes: Linux sends
# again within that time what a server with a full backlog has dropped.
all_came_or_no_more_come() {
    find "$crowd"/player* -path '*/Game/data/*' -size 64k -printf '%T@\n' | sort -g >"$crowd/arrivals"
    (($(wc -l <"$crowd/arrivals") == 8000)) || [[ -z $(find "$crowd"/player* -newermt "2 minutes ago" -print -quit) ]]
}
# launchers_row NAME [SETTING VALUE]: eight launchers with nothing but themselves fetch 1,000 files of 64 KiB each while
# 1,500 players do. Each has a process table of its own, since launchers end each other.
launchers_row() {
    local player start complete=0
    rm -rf "$crowd"/player*
    start_crowd_server "${@:2}"
    crowd_of 1500 120 medium >/dev/null 2>&1 &
    started+=($!)
    sleep 2
    start=$EPOCHREALTIME
    for player in "$crowd"/player{1..8}; do
        mkdir -p "$player/Game"
        cp -r "$crowd/medium/Game/TessaloomLauncher" "$player/Game/"
        (cd "$player/Game/TessaloomLauncher/Release" && exec unshare --fork --pid --mount-proc --kill-child \
            sh -c './TessaloomLauncher.exe; sleep 600' >>"$build/bench.log" 2>&1 </dev/null) &
        started+=($!)
    done
    until all_came_or_no_more_come; do sleep 1; done
    for player in "$crowd"/player{1..8}; do
        ! diff -rq -x 'List.txt*' -x 'LAUNCHER_TEMP_EXE_FOLDER*' "$crowd/medium" "$player" >/dev/null || complete=$((complete + 1))
    done
    row "$1" "$complete of 8" "$(wc -l <"$crowd/arrivals") of 8,000" \
        "$(tail -n 1 "$crowd/arrivals" | awk -v start="$start" '{ printf "%.0f s", $1 - start }')"
    end_started 2 -KILL # unshare ignores TERM
    end_started 1
}
say "Eight launchers among 1,500 players"
if ((EUID == 0)); then
    row setting "launchers up to date" "files that came" "until the last one"
    row --- ---: ---: ---:
    launchers_row "as recommended"
    launchers_row "backlog 128" backlog 128
    launchers_row "256 connections a process" worker_connections 256
    launchers_row "64 file handles a process" worker_rlimit_nofile 64
else
    echo "Left out: only root can give a launcher a process table of its own."
fi
