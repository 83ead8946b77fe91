#!/bin/bash
# What the module takes: on flash, in memory, and of the kernel. Inside a sandbox; BUILD is the folder with the benchmarks.
#
#     bench/footprint.sh BUILD
set -euo pipefail

build=$1
module=/tmp/qo1905.so
cp "$build/qo1905.so" "$module"
strip "$module"

row() { printf '%-44s %s\n' "$1" "$2"; }

echo "$(uname -m), $(gcc -dumpfullversion), -O2"
row 'stripped file, bytes' "$(stat -c %s "$module")"
row 'compressed by xz, bytes' "$(xz -9e --check=crc32 -c "$module" | wc -c)"
row 'text, data, bss' "$(size "$module" | awk 'NR == 2 {print $1 ", " $2 ", " $3}')"
row 'relocations: relative, of functions, of variables' \
    "$(readelf -rW "$module" | awk '/RELATIV/ {r++} /JUMP_SLO/ {f++} /GLOB_DAT/ {v++} END {print r+0 ", " f+0 ", " v+0}')"
row 'needed' "$(readelf -d "$module" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | paste -sd ' ')"

# What json-c costs is in it, once; a host that uses json-c itself has paid that already.
"$build/bench/print-mesh" 16 500 >/tmp/dump.txt
read -r before loaded after <<<"$("$build/bench/once" "$module" 100)"
row 'resident on load, with json-c, KiB' "$((loaded - before))"
row 'resident after 100 cycles of 16 devices, KiB' "$((after - loaded))"

echo
echo 'system calls of one cycle (of 10), without those of the shell:'
calls() { strace -f -c -o "/tmp/calls.$1" "$build/bench/once" "$module" "$1" >/dev/null; }
calls 10
calls 20
awk 'FNR > 2 && $NF != "total" && NF >= 5 {count[FILENAME, $NF] = $4; names[$NF] = 1}
     END {for (name in names) {
         more = (count["/tmp/calls.20", name] - count["/tmp/calls.10", name]) / 10
         if (more > 0) printf "  %-20s %6.1f\n", name, more
     }}' /tmp/calls.10 /tmp/calls.20 | sort -k 2 -rn
