#!/bin/bash
# SPDX-License-Identifier: MIT
# Starts and stops a reference server for a test run.
#   fixture.sh start DIR   wipe DIR, start the server on free ports, write DIR/env
#   fixture.sh stop DIR    stop the server started in DIR
set -u
HERE="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
PY=/usr/bin/python3

usage() { echo "usage: $0 start|stop DIR" >&2; exit 2; }
[ $# -eq 2 ] || usage
CMD="$1"
DIR="$2"

json_field() {  # json_field FILE KEY
    "$PY" -c 'import json,sys; print(json.load(open(sys.argv[1]))[sys.argv[2]])' "$1" "$2"
}

alive() {  # a zombie waiting for its reaper counts as gone
    local state
    state="$(awk '/^State:/ {print $2}' "/proc/$1/status" 2>/dev/null)"
    [ -n "$state" ] && [ "$state" != "Z" ]
}

rnd() { echo $(( (RANDOM % 254) + 1 )); }

start() {
    rm -rf "$DIR"
    mkdir -p "$DIR"
    DIR="$(cd "$DIR" && pwd)"
    local attempt pid host waited
    for attempt in 1 2 3 4 5 6; do
        host="127.$(rnd).$(rnd).$(rnd)"
        rm -rf "$DIR/data" "$DIR/ready.json"
        setsid "$PY" "$HERE/run_server.py" --data "$DIR/data" --ready-file "$DIR/ready.json" \
            --account-port 0 --message-port 0 --file-host "$host" \
            </dev/null >>"$DIR/server.log" 2>&1 &
        pid=$!
        echo "$pid" >"$DIR/pid"
        waited=0
        while [ ! -s "$DIR/ready.json" ] && alive "$pid" && [ $waited -lt 200 ]; do
            sleep 0.05
            waited=$((waited + 1))
        done
        if [ -s "$DIR/ready.json" ]; then
            {
                echo "KVMESS_ACCOUNT_URL=$(json_field "$DIR/ready.json" account_url)"
                echo "KVMESS_MESSAGE_HOST=$(json_field "$DIR/ready.json" message_host)"
                echo "KVMESS_FILE_HOST=$(json_field "$DIR/ready.json" file_host)"
                echo "KVMESS_ADMIN_URL=$(json_field "$DIR/ready.json" admin_url)"
            } >"$DIR/env"
            return 0
        fi
        if alive "$pid"; then
            kill -TERM "$pid" 2>/dev/null
            break       # neither ready nor dead within the wait: give up
        fi
        # The file port was taken on that address: try another one.
        grep -q "cannot listen" "$DIR/server.log" || break
    done
    echo "reference server did not come up; log:" >&2
    cat "$DIR/server.log" >&2
    return 1
}

stop() {
    local pid=""
    [ -s "$DIR/pid" ] && pid="$(cat "$DIR/pid")"
    [ -n "$pid" ] || return 0
    kill -TERM "$pid" 2>/dev/null || return 0
    local waited=0
    while alive "$pid" && [ $waited -lt 100 ]; do
        sleep 0.05
        waited=$((waited + 1))
    done
    alive "$pid" && kill -KILL "$pid" 2>/dev/null
    return 0
}

case "$CMD" in
    start) start ;;
    stop) stop ;;
    *) usage ;;
esac
