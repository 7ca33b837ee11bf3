#!/usr/bin/env bash
# own_shm.sh PROGRAM...: runs a test program that starts a JACK server, with a /dev/shm of its own.
# A server that starts clears a database there that all servers and clients of a user share, and a
# client that opens it at this moment crashes. It takes root's rights to keep the tests apart; without
# them they meet, which failed about one run of the suite in four on a busy machine.
set -euo pipefail

mount_own='mount -t tmpfs -o mode=1777 tmpfs /dev/shm'
if unshare --mount sh -c "$mount_own" 2>/dev/null; then
    exec unshare --mount sh -c "$mount_own"' && exec "$@"' sh "$@"
fi
exec "$@"
