#!/bin/bash
# What reading costs: the files of a gateway as a snapshot, against jq that only parses the JSON among them, and two snapshots
# compared. Inside a sandbox; BUILD is the folder with the benchmarks.
#
#     bench/reader.sh BUILD
set -euo pipefail

build=$1

# make FOLDER DEVICES STATIONS: what a gateway has of such a mesh.
make() {
    local folder=$1
    mkdir -p "$folder" /var/dnsmasq
    "$build/bench/print-mesh" "$2" "$3" >/tmp/dump.txt
    "$build/bench/print-mesh" "$2" "$3" leases >/var/dnsmasq/dnsmasq.leases
    "$build/bench/once" "$build/qo1905.so" 1 >/dev/null
    cp /tmp/dump.txt /tmp/qo1905.json /tmp/ecnt_agent_assoc_list.24g /tmp/ecnt_agent_assoc_list.5g \
        /var/dnsmasq/dnsmasq.leases "$folder"
}

printf '%18s %12s %12s %8s %12s %8s %8s\n' 'devices/stations' 'jq empty' 'snapshot' 'ratio' 'compared' 'ratio' 'events'
for size in '3 15' '16 500' '64 4000' '256 16000' '1000 64000'; do
    read -r devices stations <<<"$size"
    make /tmp/before "$devices" "$stations"
    make /tmp/after "$devices" $((stations * 9 / 10))
    hyperfine --style none --warmup 1 --min-runs 5 --export-json /tmp/times.json \
        -n jq 'jq empty /tmp/before/qo1905.json /tmp/before/dump.txt' \
        -n reader "$build/bench/read-mesh /tmp/before" >/dev/null 2>&1
    for _ in 1 2 3 4 5; do "$build/bench/read-mesh" /tmp/before /tmp/after; done >/tmp/compared
    python3 - "$devices/$stations" <<'TEXT'
import json, sys

with open("/tmp/times.json") as file:
    jq, reader = (result["min"] * 1e3 for result in json.load(file)["results"])
with open("/tmp/compared") as file:
    runs = [line.split() for line in file]
compared, events = min(float(run[1]) for run in runs), runs[0][2]
print(f"{sys.argv[1]:>18} {jq:9.1f} ms {reader:9.1f} ms {reader / jq:8.2f} {compared:9.2f} ms {compared / jq:8.3f} {events:>8}")
TEXT
done
