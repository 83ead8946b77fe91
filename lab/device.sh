#!/bin/bash
# One device of the lab, inside its sandbox: its multi-AP daemon and its host. Ends both when the host ends.
#
#     lab/device.sh BUILD_DIR HOST_OPTION...
#
# In QO1905_SCRATCH are dump.json, reports.json and device.json.
set -euo pipefail

build=$1
shift

"$build/qo1905-mapd" --dump "$QO1905_SCRATCH/dump.json" --reports "$QO1905_SCRATCH/reports.json" &
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

"$build/qo1905-host" "$QO1905_SCRATCH/device.json" "$@" &
host_pid=$!
trap 'kill "$host_pid" 2>/dev/null || true' INT TERM HUP
status=0
wait "$host_pid" || status=$?
exit "$status"
