# shellcheck shell=bash
# The tree of Debian 13. Needs common.sh, cache.sh and packages.sh.

TREE=$CACHE/debian13

# Mounts go with the last process in the tree. JACK guards its memory with a semaphore of the
# machine, which the tree must not share when it does not share the memory.
IN_OWN_NAMESPACES=(unshare --mount --ipc)
ENTER_TREE=("${IN_OWN_NAMESPACES[@]}" tools/lib/enter_tree.sh)

require_tree_rights()
{
    ((EUID == 0)) || skip 'a Debian 13 tree needs root'
    command -v debootstrap >/dev/null || has_apt ||
        skip 'a Debian 13 tree needs debootstrap, and there is no apt to install it'
    "${IN_OWN_NAMESPACES[@]}" mount -t tmpfs tmpfs /tmp 2>/dev/null ||
        skip 'a Debian 13 tree needs mounts, which this machine does not permit'
}

# An installation that was broken off leaves something for dpkg to report.
tree_is_whole()
{
    local faults
    [[ -d $TREE ]] && faults=$(chroot "$TREE" dpkg --audit 2>&1) && [[ -z $faults ]]
}

make_tree()
{
    local new=$TREE.new mirror
    rm -rf "$TREE" "$new"
    mirror=$(debian_mirror)
    say "Making a Debian 13 tree in $TREE from $mirror; that takes some minutes"
    quietly debian13-tree bootstrap "$new" "$mirror"
    configure_apt "$new"
    # shellcheck disable=SC2016 # expanded in the tree
    quietly debian13-packages "${ENTER_TREE[@]}" "$new" bash -c '
        set -euo pipefail
        source tools/lib/common.sh
        source tools/lib/packages.sh
        require_test_packages'
    chroot "$new" apt-get clean
    mv --no-target-directory "$new" "$TREE"
}

# bootstrap FOLDER MIRROR: reaches the mirror as apt does.
bootstrap()
{
    local proxy=''
    ! has_apt || eval "$(apt-config shell proxy Acquire::http::Proxy)"
    [[ -z $proxy ]] || export http_proxy=$proxy
    unshare --mount debootstrap --variant=minbase trixie "$1" "$2"
}

# Where this machine gets Debian from, whichever release.
debian_mirror()
{
    local mirror=''
    # shellcheck disable=SC2016 # expanded by apt
    ! has_apt || mirror=$(apt-get indextargets --format '$(ORIGIN) $(LABEL) $(REPO_URI)' |
        sed -nE 's|^Debian Debian (https?://.*)|\1|p' | head -n 1)
    echo "${mirror:-http://deb.debian.org/debian}"
}

# What this machine's apt must know of its network, the tree's must, too.
configure_apt()
{
    local settings=$1/etc/apt/apt.conf.d/90machine
    echo 'Acquire::https::CAInfo "/etc/ssl/certs/ca-certificates.crt";' >"$settings"
    ! has_apt || apt-config dump | grep -E \
        '^Acquire::(https?::(Proxy(::[^ ]+)?|Verify-[^ ]+)|Check-[^ ]+|Retries) ' \
        >>"$settings" || true
    echo 'Acquire::Languages "none";' >>"$settings"
    # A tree that a power failure damages is made anew.
    echo force-unsafe-io >"$1/etc/dpkg/dpkg.cfg.d/90unsafe-io"
}
