#!/bin/bash
# Whole processes side by side: the same dump to the same model file, by the module and by what people write instead. Inside a
# sandbox; BUILD is the folder with the benchmarks.
#
#     bench/peers/compare.sh BUILD
set -euo pipefail

build=$1
peers=$(dirname "$(readlink -f "$0")")

# The same values, but for the time.
same_values() {
    python3 - "$@" <<'TEXT'
import json, sys

def values(path):
    with open(path) as file:
        model = json.load(file)
    al = model["Device"]["X_0A3C5E_IEEE1905"]["AL"]
    del al["LastChange"], al["Interface.1"]["LastChange"]
    return model

first = values(sys.argv[1])
for other in sys.argv[2:]:
    if values(other) != first:
        sys.exit(f"{other} is another model than {sys.argv[1]}")
TEXT
}

for size in '3 15' '16 500' '64 4000' '256 16000' '1000 64000'; do
    read -r devices stations <<<"$size"
    "$build/bench/print-mesh" "$devices" "$stations" >/tmp/dump.txt
    module=("$build/bench/once" "$build/qo1905.so")
    lua="lua5.4 $peers/model.lua /tmp/dump.txt /tmp/lua.json"
    python="python3 $peers/model.py /tmp/dump.txt /tmp/python.json"
    jq="jq -f $peers/model.jq /tmp/dump.txt"
    "${module[@]}"
    $lua
    $python
    others=(/tmp/lua.json /tmp/python.json)
    commands=(-n module "${module[*]}" -n lua "$lua" -n python "$python")
    # jq takes a minute and some gigabytes for the largest.
    if [ "$stations" -le 16000 ]; then
        $jq >/tmp/jq.json
        others+=(/tmp/jq.json)
        commands+=(-n jq "$jq >/tmp/jq.json")
    fi
    same_values /tmp/qo1905.json "${others[@]}"
    hyperfine --style none --warmup 1 --min-runs 5 --export-json /tmp/times.json "${commands[@]}" >/dev/null 2>&1
    python3 - "$devices" "$stations" <<'TEXT'
import json, sys

with open("/tmp/times.json") as file:
    results = json.load(file)["results"]
own = results[0]["min"]
print(f"{sys.argv[1]:>5} / {sys.argv[2]:<6}", *(f"{r['command']} {r['min'] * 1e3:8.1f} ms ({r['min'] / own:5.1f})" for r in results), sep="  ")
if any(other["min"] <= own for other in results[1:]):
    sys.exit("the module is not the fastest")
TEXT
done
