#!/bin/bash
# One device of the lab, inside its sandbox: its multi-AP daemon and its host. Ends both when the host ends.
#
#     lab/device.sh BUILD_DIR DUMP REPORTS -- HOST_ARGUMENT...
#
# REPORTS may be empty.
set -euo pipefail

build=$1 dump=$2 reports=$3
shift 4

daemon=("$build/qo1905-mapd" --dump "$dump")
[ -z "$reports" ] || daemon+=(--reports "$reports")
"${daemon[@]}" &
daemon_pid=$!
trap 'kill "$daemon_pid" 2>/dev/null || true' EXIT

# A module that finds no daemon tries again only after five seconds.
while [ ! -S /tmp/mapd_ctrl ]; do
    if ! kill -0 "$daemon_pid" 2>/dev/null; then
        wait "$daemon_pid"
        exit
    fi
    sleep 0.02
done

"$build/qo1905-host" "$@" &
host_pid=$!
trap 'kill "$host_pid" 2>/dev/null || true' INT TERM HUP
status=0
wait "$host_pid" || status=$?
exit "$status"
