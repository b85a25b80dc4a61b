#!/usr/bin/env bash
# How many actions a second "tmxact events import" keeps: a million of the example day, as text and as
# bytes, into an SQLite file beside the input, and into a PostgreSQL database where one is named.
#
# usage: bench/import.sh [--tmxact PROGRAM] [--actions COUNT] [--folder FOLDER] [--postgresql URL]
#
# FOLDER is where the input and the SQLite file lie while it runs, and tells which disk is measured.
# The PostgreSQL database is filled, and left so. With nothing else at work on the machine the figures
# hold; as root, TMXACT_RUN='chrt -f 50' keeps others off.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
tmxact=$root/build/release/tmxact
actions=1000000
folder=${TMPDIR:-/tmp}
postgresql=
while [[ $# -gt 0 ]]; do
    case $1 in
    --tmxact) tmxact=$2 ;;
    --actions) actions=$2 ;;
    --folder) folder=$2 ;;
    --postgresql) postgresql=$2 ;;
    *)
        sed -n 's/^# usage: /usage: /p' "$0" >&2
        exit 2
        ;;
    esac
    shift 2
done
read -ra run <<<"${TMXACT_RUN:-}"

work=$(mktemp -d "$folder/import.XXXXXX")
trap 'rm -rf "$work"' EXIT
"$tmxact" convert --to text -o "$work/site.txt" "$root/examples/site.actions" 2>/dev/null || true
lines=$(wc -l <"$work/site.txt")
for ((i = 0; i < (actions + lines - 1) / lines; ++i)); do
    cat "$work/site.txt"
done >"$work/more.txt"
head -n "$actions" "$work/more.txt" >"$work/day.txt"
"$tmxact" convert --to bin -o "$work/day.bin" "$work/day.txt"

# measure NAME DATABASE INPUT
measure() {
    local rate
    rate=$("${run[@]}" "$tmxact" events import --no-progress -v --db "$2" "$3" 2>&1 |
        sed -n 's/^tmxact: \([0-9]*\) actions a second$/\1/p')
    printf '%-24s %9s actions a second\n' "$1" "$rate"
}
for input in txt bin; do
    rm -f "$work"/events.db*
    measure "$input into SQLite" "$work/events.db" "$work/day.$input"
done
printf '%-24s %9s bytes\n' "the SQLite file" "$(stat -c %s "$work/events.db")"
if [[ -n $postgresql ]]; then
    for input in txt bin; do
        measure "$input into PostgreSQL" "$postgresql" "$work/day.$input"
    done
fi
