#!/bin/bash
# Runs a command the way a device would: with a /tmp, /run, /var/dnsmasq and /etc/rc.d of its own.
#
#     lab/sandbox.sh [--strict] [--root DIR] [--programs DIR]... [--leases FILE] -- COMMAND [ARGUMENT...]
#     lab/sandbox.sh --probe      status 0 where namespaces can be had, 1 where not, 2 when that cannot be told
#
# --root DIR      where the device's folders are kept (DIR/tmp and so on) and can be read from outside; without it they are
#                 thrown away at the end
# --programs DIR  goes first in PATH; an S81ohttpd_rest in it also becomes /etc/rc.d/S81ohttpd_rest
# --leases FILE   the DHCP leases of the device
# --strict        in namespaces or not at all; with --root, the process becomes the sandbox
#
# Where namespaces are denied or there is no bwrap, or with QO1905_NO_SANDBOX=1, the command runs on the machine's own paths:
# one at a time, only if none of the files listed below is there yet; they are removed at the end, and kept in DIR/tmp with
# --root. With QO1905_NAMESPACES=1 somebody has found out already that they can be had.
set -euo pipefail

project=$(cd "$(dirname "$0")/.." && pwd)
root=
programs=()
leases=
probe=
strict=

die() {
    echo "sandbox.sh: $*" >&2
    exit 2
}

while [ $# -gt 0 ]; do
    case $1 in
        --root) root=$2; shift 2 ;;
        --programs) programs+=("$2"); shift 2 ;;
        --leases) leases=$2; shift 2 ;;
        --probe) probe=yes; shift ;;
        --strict) strict=yes; shift ;;
        --) shift; break ;;
        *) die "unknown option $1" ;;
    esac
done
[ $# -gt 0 ] || [ -n "$probe" ] || die "no command"

path=$PATH
rc_script=
for folder in "${programs[@]}"; do
    path=$folder:$path
    [ ! -x "$folder/S81ohttpd_rest" ] || rc_script=$folder/S81ohttpd_rest
done

# --- in namespaces ---

bwrap_arguments() {
    local name
    printf '%s\0' --die-with-parent --unshare-pid --unshare-ipc --dev /dev --proc /proc --tmpfs /var --tmpfs /etc
    printf '%s\0' --size 4096 --tmpfs /small # a disk that is full at once
    for name in usr bin sbin lib lib32 lib64 libx32 opt; do
        printf '%s\0' --ro-bind-try "/$name" "/$name"
    done
    for name in alternatives group ld.so.cache ld.so.conf localtime nsswitch.conf passwd; do
        printf '%s\0' --ro-bind-try "/etc/$name" "/etc/$name"
    done
}

start_in_namespaces() {
    local arguments project_bind=--bind
    [ -z "$strict" ] || project_bind=--ro-bind # a device of a mesh changes nothing here
    mapfile -d '' -t arguments < <(bwrap_arguments)
    arguments+=(--bind "$root/tmp" /tmp --bind "$root/run" /run --symlink /run /var/run
        --bind "$root/dnsmasq" /var/dnsmasq --bind "$root/rc.d" /etc/rc.d
        "$project_bind" "$project" "$project" --chdir "$project"
        --setenv PATH "$path" --setenv HOME /tmp --setenv QO1905_SANDBOX namespaces --setenv QO1905_SCRATCH /tmp/scratch)
    if [ -n "${QO1905_BUILD_DIR:-}" ]; then
        arguments+=(--bind "$QO1905_BUILD_DIR" "$QO1905_BUILD_DIR")
    fi
    if [ -n "$strict" ] && [ -z "$thrown_away" ]; then
        exec bwrap "${arguments[@]}" "$@"
    fi
    local status=0
    bwrap "${arguments[@]}" "$@" || status=$?
    remove_mount_points
    return "$status"
}

namespaces_work() {
    [ -z "${QO1905_NO_SANDBOX:-}" ] || return 1
    [ -z "${QO1905_NAMESPACES:-}" ] || return 0
    command -v bwrap >/dev/null && start_in_namespaces true 2>/dev/null
}

# A project that lies in /tmp is seen in the device's own; the places made for that are of no use outside.
remove_mount_points() {
    local path
    for path in "$project" "${QO1905_BUILD_DIR:-$project}"; do
        case $path in
            /tmp/*) (cd "$root" && rmdir -p --ignore-fail-on-non-empty "${path#/}") 2>/dev/null || true ;;
        esac
    done
}

# --- on the machine's own paths ---

own_files=(/tmp/dump.txt /tmp/mapd_ctrl /tmp/mapd.log /tmp/qo1905.json /tmp/qo1905_log.json
    /tmp/ecnt_agent_assoc_list.24g /tmp/ecnt_agent_assoc_list.5g /tmp/rest_server.log
    /var/run/rest_api_server.pid /var/run/rest_api_server.url /var/dnsmasq/dnsmasq.leases /etc/rc.d/S81ohttpd_rest)
own_folders=(/var/dnsmasq /etc/rc.d)
made_folders=()

refuse_if_in_use() {
    local file
    for file in "${own_files[@]}"; do
        [ ! -e "$file" ] || die "no sandbox possible, and $file exists on this machine: not touching it"
    done
}

# What was written is kept where --root says.
clean_machine() {
    local folder file
    if [ -z "$thrown_away" ]; then
        for file in "${own_files[@]}"; do
            [ ! -f "$file" ] || cp -- "$file" "$root/tmp/"
        done
    fi
    rm -rf -- "${own_files[@]}"
    for folder in "${made_folders[@]}"; do
        rmdir -- "$folder" 2>/dev/null || true
    done
}

start_on_machine() {
    local folder status=0
    exec 9</tmp # a lock that leaves no file
    flock 9
    refuse_if_in_use
    echo "sandbox.sh: NO SANDBOX: running on this machine's own /tmp, /var/run, /var/dnsmasq and /etc/rc.d" >&2
    trap 'clean_machine; throw_away' EXIT
    for folder in "${own_folders[@]}"; do
        if [ ! -d "$folder" ] && mkdir -- "$folder" 2>/dev/null; then
            made_folders+=("$folder")
        fi
    done
    prepare /var/dnsmasq /etc/rc.d
    # In a session of its own, so that nothing of it is left when the files are removed.
    PATH=$path QO1905_SANDBOX=machine QO1905_SCRATCH=$root/tmp/scratch setsid "$@" 9>&- &
    child=$!
    trap 'kill -TERM -- "-$child" 2>/dev/null || true' INT TERM HUP
    # A trapped signal ends the first wait early; the second waits for the end.
    wait "$child" || status=$?
    if kill -0 "$child" 2>/dev/null; then
        wait "$child" || status=$?
    fi
    while kill -KILL -- "-$child" 2>/dev/null; do
        sleep 0.02
    done
    return "$status"
}

# prepare LEASE_FOLDER RC_FOLDER
prepare() {
    if [ -n "$leases" ] && [ -w "$1" ]; then
        cp -- "$leases" "$1/dnsmasq.leases"
    fi
    if [ -n "$rc_script" ] && [ -w "$2" ]; then
        cp -- "$rc_script" "$2/S81ohttpd_rest"
    fi
}

thrown_away=
throw_away() {
    [ -z "$thrown_away" ] || rm -rf -- "$root"
}

# A folder of its own, locked as long as anything of the sandbox lives; one that is taken for an abandoned one before the
# lock is there is given up for another.
make_root() {
    while :; do
        root=$(mktemp -d "${TMPDIR:-/tmp}/qo1905-sandbox.XXXXXX" 2>/dev/null) ||
            die "no folder can be made in ${TMPDIR:-/tmp}${TMPDIR:+, which TMPDIR names}"
        if { exec 8<"$root"; } 2>/dev/null && flock 8 && [ -d "$root" ]; then
            return 0
        fi
    done
}

# Folders of sandboxes that were killed: nobody holds their locks.
remove_abandoned() {
    local folder
    for folder in "${TMPDIR:-/tmp}"/qo1905-sandbox.*; do
        if [ "$folder" != "$root" ] && [ -O "$folder" ] && [ ! -L "$folder" ]; then
            flock -n "$folder" rm -rf -- "$folder" 2>/dev/null || true
        fi
    done
}

if [ -z "$root" ]; then
    make_root
    thrown_away=yes
    trap throw_away EXIT
    [ -n "$probe" ] || remove_abandoned
fi
mkdir -p "$root/tmp/scratch" "$root/run" "$root/dnsmasq" "$root/rc.d"

if [ -n "$probe" ]; then
    namespaces_work || exit 1
elif [ -n "$strict" ] || namespaces_work; then
    prepare "$root/dnsmasq" "$root/rc.d"
    start_in_namespaces "$@"
else
    start_on_machine "$@"
fi
