#!/usr/bin/env bash
# unpack_usb_road.sh FOLDER MODULE...: makes what the virtual machine of tools/usb-road starts from
# out of the packages in FOLDER/packages: FOLDER/kernel, an archive with the modules, and programs.
set -euo pipefail

cd "$1"
shift
wanted=("$@")

# Most of a kernel is for hardware that a virtual machine does not have.
unpack_kernel()
{
    mkdir -p boot-files
    dpkg --fsys-tarfile "$1" | tar --extract --directory boot-files \
        --transform 's,^\./usr/lib/,./lib/,' --exclude './usr/share/*' \
        --exclude '*/kernel/drivers/[!muv]*' --exclude '*/kernel/net/[!9]*'
}

# Not every kernel unpacks its modules by itself.
unpack_modules()
{
    find . -name '*.ko.xz' -exec "$busybox" unxz {} +
    find . -name '*.ko.zst' -exec zstd --decompress --quiet --rm {} +
}

# The files of a module and of all that it needs; nothing when it is part of the kernel.
module_files()
{
    local name=${1//[-_]/[-_]}
    if grep -qE "/$name\.ko" modules.builtin; then
        return
    fi
    if ! sed -nE "s,^(kernel/.*/$name\.ko):(.*),\1\2,p" modules.dep | tr ' ' '\n' | grep .; then
        echo "this kernel has no module $1" >&2
        return 1
    fi
}

for package in packages/*.deb; do
    case $package in
        packages/linux-*) unpack_kernel "$package" ;;
        *) dpkg --extract "$package" programs ;;
    esac
done
busybox=$(find "$PWD/programs" -path '*bin/busybox')
PATH=$PATH:$PWD/programs/usr/bin

release=$(ls boot-files/lib/modules)
modules=boot-files/lib/modules/$release
(cd "$modules" && unpack_modules)
"$busybox" depmod -b "$PWD/boot-files" "$release"

tree=$PWD/tree
mkdir -p "$tree/bin" "$tree/lib/modules/$release"
(
    cd "$modules"
    for module in "${wanted[@]}"; do
        module_files "$module"
    done | sort -u | xargs cp --parents -t "$tree/lib/modules/$release" modules.*
)
cp "$busybox" "$tree/bin/busybox"
echo "${wanted[*]}" >"$tree/module-list"
cp "$busybox" busybox
(cd "$tree" && find . | "$busybox" cpio -o -H newc) | gzip -1 >modules.gz
cp "boot-files/boot/vmlinuz-$release" kernel
rm -r boot-files packages tree
echo "${wanted[*]}" >module-list
