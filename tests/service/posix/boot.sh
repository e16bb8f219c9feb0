#!/bin/sh
# boot.sh EXCHANGE UNITS FOLDER...: boots a systemd of its own and stays until that ends. It runs in namespaces of its
# own over a root that shows the machine's programs and the FOLDERs, all read-only, and EXCHANGE, which can be written;
# everything else in it is new and goes with it. UNITS is where units are. The process id of its first process, as the
# machine sees it, is written to EXCHANGE/init. Exit code 77: this machine does not allow it; the output says why.
set -eu

hierarchy=/sys/fs/cgroup # in the new root; whatever the machine mounts there, this is the version 2 hierarchy

refuse() {
    printf '%s\n' "$*" >&2
    exit 77
}

# --- on the machine's side --------------------------------------------------------------------------------------

# In a mount namespace of its own; the hierarchy is mounted over the folder of the exchange only for the cleaning up.
supervise() {
    cgroups=$1/cgroups
    group=$cgroups/osupt-test-$$
    child=
    trap clean_up EXIT
    trap 'exit 1' HUP INT TERM
    mkdir -p "$cgroups" "$1/root"
    mount -t cgroup2 osupt "$cgroups" 2>/dev/null || refuse 'no cgroup hierarchy can be mounted'
    mkdir "$group" || refuse 'no cgroup can be made'
    sh "$0" --join "$group" "$@" &
    child=$!
    wait "$child"
}

clean_up() {
    code=$?
    trap '' HUP INT TERM
    [ -z "$child" ] || kill -9 "$child" 2>/dev/null || true
    tries=100 # the last processes leave their cgroups a moment after they have ended
    while [ -d "$group" ] && [ "$tries" -gt 0 ]; do
        find "$group" -depth -type d -exec rmdir {} + 2>/dev/null || sleep 0.1
        tries=$((tries - 1))
    done
    exit "$code"
}

# The root of the new cgroup namespace is where the process is when the namespace is made.
join() {
    group=$1
    shift
    read -r self _ </proc/self/stat
    echo "$self" >"$group/cgroup.procs" || refuse 'the cgroup cannot be joined'
    exec unshare --mount --pid --cgroup --uts --ipc --net --fork --kill-child sh "$0" --boot "$@"
}

# --- inside -----------------------------------------------------------------------------------------------------

# bind FOLDER: shows a folder of the machine in the new root, read-only.
bind() {
    mkdir -p ".$1"
    mount -o bind,ro "$1" ".$1"
}

boot() {
    exchange=$1
    units=$2
    shift 2
    read -r init _ </proc/self/stat # still the machine's view
    cd "$exchange/root"
    mount -t tmpfs -o mode=755 osupt .
    cd "$exchange/root"
    for name in bin sbin lib lib32 lib64 libx32 usr; do
        if [ -L "/$name" ]; then
            cp -P "/$name" .
        elif [ -d "/$name" ]; then
            bind "/$name"
        fi
    done
    mkdir -p "./$units" dev etc proc root run sys tmp var

    mount -t proc proc proc
    mount -o bind,ro proc/sys proc/sys
    mount -o bind,ro /sys sys
    mount -t cgroup2 osupt ".$hierarchy"
    mount -t tmpfs -o mode=755 osupt dev # a mount point, or the machine's own would be mounted there
    for name in null zero full random urandom tty; do
        : >"dev/$name"
        mount --bind "/dev/$name" "dev/$name"
    done

    echo 0123456789abcdef0123456789abcdef >etc/machine-id
    echo 'root:x:0:0:root:/root:/bin/sh' >etc/passwd
    echo 'root:x:0:' >etc/group
    : >etc/os-release
    # What services depend on by themselves, and what is reached once they are enabled.
    for name in sysinit basic multi-user shutdown; do
        printf '[Unit]\nDescription=%s\nDefaultDependencies=no\n' "$name" >"./$units/$name.target"
    done

    for folder; do
        [ -d ".$folder" ] || bind "$folder"
    done
    mkdir -p ".$exchange"
    mount --bind "$exchange" ".$exchange"
    mount --move . /
    echo "$init" >".$exchange/init"
    # Nothing of the machine's environment goes in.
    exec env -i container=lxc PATH=/usr/sbin:/usr/bin:/sbin:/bin \
        SYSTEMD_UNIT_PATH="$units:/run/systemd/system" \
        chroot . /lib/systemd/systemd --system --unit=basic.target --log-target=null --show-status=no
}

case $1 in
--supervise) shift && supervise "$@" ;;
--join) shift && join "$@" ;;
--boot) shift && boot "$@" ;;
*)
    for tool in unshare nsenter setpriv systemctl mount chroot; do
        command -v "$tool" >/dev/null 2>&1 || refuse "there is no $tool"
    done
    [ -x /lib/systemd/systemd ] || refuse 'there is no systemd'
    [ "$(id -u)" -eq 0 ] || refuse 'only root can'
    unshare --mount --pid --cgroup --uts --ipc --net --fork true 2>/dev/null || refuse 'no namespaces can be made'
    exec setpriv --pdeathsig TERM unshare --mount sh "$0" --supervise "$@"
    ;;
esac
