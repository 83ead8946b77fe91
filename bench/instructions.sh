#!/bin/bash
# How many instructions a cycle takes per station. Unlike its time they are the same in every run, whatever else the machine
# does and whatever fits into its caches. Inside a sandbox; BUILD is the folder with the benchmarks.
#
#     bench/instructions.sh BUILD
set -euo pipefail

build=$1
mkdir -p /var/dnsmasq

# count CYCLES: what each function took in so many cycles, with all that it called.
count() {
    valgrind --tool=callgrind --callgrind-out-file="/tmp/calls.$1" \
        "$build/bench/once" "$build/qo1905.so" "$1" tidy >/dev/null 2>&1
    callgrind_annotate --inclusive=yes --threshold=100 "/tmp/calls.$1" |
        sed -nE 's/^ *([0-9,]+) .*:(initALTable|json_tokener_parse_ex|json_object_put|writeJsonDataModel|updateWifiAssocList) .*/\2 \1/p' |
        tr -d ,
}

echo 'instructions per station'
printf '%-15s %10s %16s %11s %8s %14s %6s %6s\n' '' parse 'build, destroy' 'model file' lists 'all but parse' ratio grows
before=0
for size in '3 15' '16 500' '64 4000' '256 16000' '1000 64000'; do
    read -r devices stations <<<"$size"
    "$build/bench/print-mesh" "$devices" "$stations" dump >/tmp/dump.txt
    "$build/bench/print-mesh" "$devices" "$stations" reports >/tmp/reports.txt
    "$build/bench/print-mesh" "$devices" "$stations" leases >/var/dnsmasq/dnsmasq.leases
    # The second cycle alone: the first has nothing to destroy.
    row=$({ count 1 | sed 's/^/first /'; count 2; } | awk -v size="$devices / $stations" -v stations="$stations" -v before="$before" '
        $1 == "first" {first[$2] = $3; next}
        {cycle[$1] = ($2 - first[$1]) / stations}
        END {
            parse = cycle["json_tokener_parse_ex"] + cycle["json_object_put"]
            build = cycle["initALTable"] - parse
            rest = build + cycle["writeJsonDataModel"] + cycle["updateWifiAssocList"]
            printf "%-15s %10d %16d %11d %8d %14d %6.2f %6s\n", size, parse, build, cycle["writeJsonDataModel"],
                cycle["updateWifiAssocList"], rest, rest / parse, (before > 0 ? sprintf("%.2f", rest / before) : "-")
        }')
    echo "$row"
    before=$(awk '{print $(NF - 2)}' <<<"$row")
done
