#!/bin/bash
# A service manager of one scene's own: systemd --user for $HOME and $XDG_RUNTIME_DIR, until it is asked to end.
# Runs in mount and cgroup namespaces of its own (unshare -m -C), where it is allowed to make them.
set -eu
mount --make-rprivate /
mount -t tmpfs tmpfs /run/systemd
mkdir /run/systemd/system # else it takes the machine for one without systemd
umount -R /sys/fs/cgroup
mount -t cgroup2 none /sys/fs/cgroup
group=/sys/fs/cgroup/vennic-scene-$$
mkdir "$group"
leave() {
    echo $BASHPID >/sys/fs/cgroup/cgroup.procs
    find "$group" -depth -type d -exec rmdir {} \; 2>/dev/null || true
}
trap leave EXIT
echo $$ >"$group/cgroup.procs"
/lib/systemd/systemd --user --log-target=console --log-level=warning &
manager=$!
trap 'kill $manager' TERM
while kill -0 $manager 2>/dev/null; do wait $manager || true; done
