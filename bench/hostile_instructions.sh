#!/bin/bash
# How many instructions a cycle takes per byte of hostile input, at three sizes, and how that grows. Unlike its time they are
# the same in nearly every run, whatever fits into the caches. Inside a sandbox; BUILD is the folder with the benchmarks.
#
#     bench/hostile_instructions.sh BUILD
set -euo pipefail

build=$1
mkdir -p /var/dnsmasq

# per_byte NAME BYTES
per_byte() {
    valgrind --tool=callgrind --callgrind-out-file=/tmp/calls --toggle-collect='*cycle*' \
        "$build/bench/qo1905-hostile" --once "$1" "$2" 2>&1 |
        sed -nE 's/.*Collected *: *([0-9]+).*/\1/p' | awk -v bytes="$2" '{printf "%.1f", $1 / bytes}'
}

echo 'instructions of a cycle per byte'
printf '%-42s %8s %8s %6s %8s %6s\n' shape '64 KiB' '1 MiB' grows '4 MiB' grows
"$build/bench/qo1905-hostile" --list | while read -r name; do
    small=$(per_byte "$name" 65536)
    middle=$(per_byte "$name" 1048576)
    large=$(per_byte "$name" 4194304)
    awk -v name="$name" -v a="$small" -v b="$middle" -v c="$large" \
        'BEGIN {printf "%-42s %8.1f %8.1f %6.2f %8.1f %6.2f\n", name, a, b, b / a, c, c / b}'
done
