#!/usr/bin/env bash
# enter_tree.sh TREE COMMAND...: runs a command on the project in a tree of another system. To be
# called by the project's root in a mount namespace of its own, which takes the mounts away again.
set -euo pipefail

tree=$1
shift
own_build=build/debian13

mkdir -p "$own_build" "$tree/project"
mount --rbind /proc "$tree/proc"
mount --rbind /dev "$tree/dev"
# Tests take the names of their JACK servers in /tmp, and the servers meet in /dev/shm: either both
# are the machine's, or none.
mount -t tmpfs tmpfs "$tree/dev/shm"
mount -t tmpfs tmpfs "$tree/tmp"
mount --bind . "$tree/project"
mount --bind "$own_build" "$tree/project/build"

# The network as this machine sees it today.
for file in /etc/resolv.conf /etc/hosts /etc/ssl/certs/ca-certificates.crt; do
    [[ ! -e $file ]] || install -D --mode=644 "$file" "$tree$file"
done
environment=(HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 TERM="${TERM:-dumb}")
for name in {http,https,no}_proxy {HTTP,HTTPS,NO}_PROXY; do
    [[ -z ${!name-} ]] || environment+=("$name=${!name}")
done

exec chroot "$tree" env --ignore-environment "${environment[@]}" \
    sh -c 'cd /project && exec "$@"' sh "$@"
