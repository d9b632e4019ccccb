#!/bin/bash
# SPDX-License-Identifier: MIT
# Watches the test executables of a build while a suite runs, and writes the
# stacks of every thread of one that has been alive longer than a limit, then
# ends it. For hangs too rare to catch under a debugger by hand.
#   tools/hangwatch.sh [seconds=40] [folder for the stacks=/tmp]
# Needs gdb. Stop it with Ctrl-C or kill.
limit=${1:-40}
out=${2:-/tmp}
command -v gdb >/dev/null || { echo "hangwatch: gdb is missing" >&2; exit 1; }
while :; do
    for pid in $(pgrep -f "build/tests/.*_tst_"); do
        age=$(ps -o etimes= -p "$pid" 2>/dev/null | tr -d ' ')
        [ -n "$age" ] && [ "$age" -gt "$limit" ] || continue
        file="$out/hang.$pid.txt"
        [ -e "$file" ] && continue
        ps -o args= -p "$pid" > "$file"
        gdb -p "$pid" -batch -ex "thread apply all bt" >> "$file" 2>&1
        kill -9 "$pid"
        echo "hangwatch: stacks of $pid in $file" >&2
    done
    sleep 5
done
