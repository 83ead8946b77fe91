#!/bin/sh
# history.sh BUILD [DAYS]: what remembering costs, for 15 and for 500 stations. In memory: a disk's own time is not ours.
set -eu
program=$1/bench/bench-history
days=${2:-7}
folder=$(mktemp -d "${TMPDIR:-/tmp}/bench-history.XXXXXX")
trap 'rm -rf -- "$folder"' EXIT
for home in '15 7' '15 7 busy' "500 $days"; do
    # shellcheck disable=SC2086 # three words
    "$program" "$folder/$(echo "$home" | tr ' ' -).db" $home
    echo
done
