#!/bin/busybox sh
# shellcheck shell=sh
# First process of the virtual machine of tools/usb-road: makes a root of the other machine's files
# and runs the command there. The kernel panics when it ends early, and with that the machine ends.
set -eu

# The programs below are busybox's.
/bin/busybox mkdir -p /proc /dev /sys /host /memory /root /project
/bin/busybox --install -s /bin
PATH=/bin

mount -t proc proc /proc
mount -t sysfs sys /sys
mount -t devtmpfs dev /dev
# shellcheck disable=SC2013 # words of one line
for module in $(cat /module-list); do
    modprobe "$module"
done

# The other machine's files are read only; a layer in memory takes what is written.
share=trans=virtio,version=9p2000.L,msize=262144,access=any
mount -t 9p -o "ro,cache=loose,$share" host /host
mount -t tmpfs memory /memory
mkdir /memory/upper /memory/work
mount -t overlay -o lowerdir=/host,upperdir=/memory/upper,workdir=/memory/work root /root
mkdir -p /root/vm
mount -t 9p -o "cache=none,$share" job /root/vm

project=$(cat /root/vm/project)
mount --bind "/root$project" /project
mount --move /proc /root/proc
mount --move /sys /root/sys
mount --move /dev /root/dev
mkdir -p /root/dev/pts /root/dev/shm
mount -t devpts devpts /root/dev/pts
for folder in dev/shm run tmp; do
    mount -t tmpfs -o mode=1777 tmpfs "/root/$folder"
done
mkdir /root/run/home
ln -s /proc/self/fd /root/dev/fd
ln -s /proc/self/fd/0 /root/dev/stdin
ln -s /proc/self/fd/1 /root/dev/stdout
ln -s /proc/self/fd/2 /root/dev/stderr
# A project below /tmp has just been hidden.
if [ ! -d "/root$project" ]; then
    mkdir -p "/root$project"
    mount --bind /project "/root$project"
fi

ifconfig lo up
output=/root/dev/ttyS1
# Bytes as the command wrote them, line ends too.
stty -F "$output" -opost
status=0
chroot /root bash /vm/command </root/dev/null >"$output" 2>&1 || status=$?
# It also waits until all of the output has gone out.
stty -F "$output" -opost
echo "$status" >/root/vm/status
poweroff -f
