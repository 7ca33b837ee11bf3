# shellcheck shell=bash
# A virtual machine with a kernel that knows USB and ALSA. Needs common.sh, cache.sh and packages.sh.

# modules.gz and kernel, which it starts from, and programs/, what this machine does not have.
VM_FILES=$CACHE/usb-road

VM_FOLDER=build/usb-road
VM_OUT=$VM_FOLDER/out
VM_CONSOLE=$LOG_DIR/usb-road-console.log

# What the first process loads: the way to this machine's files, then what the tests are here for.
VM_MODULES=(virtio_pci 9pnet_virtio 9p overlay snd-seq snd-seq-midi snd-usb-audio vhci-hcd)

# Enough for the editor with the address sanitizer.
VM_MEMORY_MIB=1500

require_vm_rights()
{
    [[ $(uname -m) == x86_64 ]] || skip "the virtual machine is an x86_64, and this is $(uname -m)"
    local available
    available=$(awk '/^MemAvailable:/ { print int($2 / 1024) }' /proc/meminfo)
    ((available > VM_MEMORY_MIB)) ||
        skip "the virtual machine needs $VM_MEMORY_MIB MiB of memory, and $available are free"
    mkdir -p "$CACHE" 2>/dev/null || true
    [[ -w $CACHE ]] ||
        skip "the virtual machine's files need a place, and $CACHE is not to be written"
}

# Also false after a change of this system that takes away what the QEMU in there needs.
vm_files_are_whole()
{
    [[ -f $VM_FILES/module-list && $(<"$VM_FILES/module-list") == "${VM_MODULES[*]}" ]] || return 1
    choose_qemu
    "${QEMU[@]}" --version >/dev/null 2>&1
}

choose_qemu()
{
    local own=$VM_FILES/programs libraries=lib/x86_64-linux-gnu
    QEMU=(qemu-system-x86_64)
    [[ -x $own/usr/bin/qemu-system-x86_64 ]] || return 0
    QEMU=(
        env LD_LIBRARY_PATH="$own/usr/$libraries:$own/$libraries"
        QEMU_MODULE_DIR="$own/usr/$libraries/qemu"
        "$own/usr/bin/qemu-system-x86_64" -L "$own/usr/share/qemu" -L "$own/usr/share/seabios"
    )
}

make_vm_files()
{
    local new=$VM_FILES.new
    rm -rf "$VM_FILES" "$new"
    mkdir -p "$new/packages"
    require_known_packages
    say "Fetching a kernel and what starts it into $VM_FILES, once"
    # A list that is out of date names files that the mirrors no longer have.
    if ! download_packages "$new/packages" >/dev/null 2>&1 </dev/null; then
        update_package_lists
        quietly usb-road-download download_packages "$new/packages"
    fi
    quietly usb-road-unpack tools/lib/unpack_usb_road.sh "$new" "${VM_MODULES[@]}"
    mv --no-target-directory "$new" "$VM_FILES"
    choose_qemu
}

# Sets VM_KERNEL, the package that stands for the distribution's kernel of today.
require_known_packages()
{
    has_apt || skip 'the virtual machine is made of packages, and there is no apt to fetch them'
    find_packages && return
    ((EUID == 0)) || command -v sudo >/dev/null ||
        skip 'apt knows no kernel or no QEMU, and there is no sudo to update its lists'
    update_package_lists
    find_packages || skip 'the virtual machine needs a kernel, QEMU and busybox, which apt lacks'
}

find_packages()
{
    apt_knows "${USB_ROAD_PACKAGES[0]##*:}" && apt_knows "$USB_ROAD_FIRST_PROGRAMS" || return 1
    for VM_KERNEL in "${USB_ROAD_KERNELS[@]}"; do
        ! apt_knows "$VM_KERNEL" || return 0
    done
    return 1
}

# download_packages FOLDER: false when a package could not be had.
download_packages()
{
    local missing programs kernel
    mapfile -t missing < <(missing_packages "${USB_ROAD_PACKAGES[@]}")
    programs=$(packages_to_add "${missing[@]}") && kernel=$(kernel_packages) || return 1
    # shellcheck disable=SC2086 # names, a line each
    (cd "$1" && apt-get download $kernel $programs "$USB_ROAD_FIRST_PROGRAMS")
}

# The named packages and what they need, without what is installed.
packages_to_add()
{
    (($# > 0)) || return 0
    apt-get install --simulate --no-install-recommends "$@" | awk '$1 == "Inst" { print $2 }'
}

# The kernel and its modules, which may be packages of their own.
kernel_packages()
{
    apt-cache depends --recurse --important "$VM_KERNEL" |
        grep -E '^linux-(image|modules|modules-extra)-[0-9]'
}

# run_in_vm SECONDS COMMAND...: sets VM_STATUS to the command's exit status, or to 124 when it took
# longer. What it left in /vm/out is in VM_OUT then.
run_in_vm()
{
    local limit=$1
    shift
    mkdir -p "$VM_FOLDER" "$LOG_DIR"
    VM_JOB=$(mktemp -d "$VM_FOLDER/job.XXXXXX")
    trap end_vm EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM HUP
    write_job "$@"
    local ended=0
    start_vm "$limit" || ended=$?
    end_vm
    trap - EXIT INT TERM HUP
    [[ -n $VM_STATUS ]] || explain_end "$ended" "$limit"
}

# What the virtual machine sees as /vm, and an archive with its first process.
write_job()
{
    local vm=$VM_JOB/vm
    mkdir -p "$vm/out"
    pwd >"$vm/project"
    {
        # The serial line passes for a terminal, but colours would not fit into a log.
        printf 'export HOME=/run/home TERM=dumb PATH=%q LANG=%q\n' "$PATH" "${LANG:-C.UTF-8}"
        printf 'cd %q || exit\nexec --' "$PWD"
        printf ' %q' "$@"
        printf '\n'
    } >"$vm/command"
    {
        cat "$VM_FILES/modules.gz"
        (cd tools/lib && echo usb_road_init.sh | "$VM_FILES/busybox" cpio -o -H newc 2>/dev/null) |
            gzip -1
    } >"$VM_JOB/initrd"
}

# start_vm SECONDS: returns when the virtual machine has ended and its output is written. A pipe to
# cat, since QEMU makes its output non-blocking, and this one may be shared.
start_vm()
{
    local output reader machine status=0
    exec {output}> >(exec cat)
    reader=$!
    timeout --kill-after=10 "$1" "${QEMU[@]}" "${VM_OPTIONS[@]}" \
        -m "$VM_MEMORY_MIB" -kernel "$VM_FILES/kernel" -initrd "$VM_JOB/initrd" \
        -fsdev "local,id=job,path=$VM_JOB/vm,security_model=none" \
        -device virtio-9p-pci,fsdev=job,mount_tag=job \
        -serial "file:$VM_JOB/console" -serial stdio \
        </dev/null >&"$output" 2>"$VM_JOB/complaints" {output}>&- &
    machine=$!
    STARTED_PIDS+=("$machine")
    exec {output}>&-
    wait "$machine" || status=$?
    STARTED_PIDS=()
    wait "$reader" || true
    return "$status"
}

# Only by QEMU's own emulation: a /dev/kvm that may be opened need not work, above all where this
# machine is a virtual one, and then the kernel hangs.
# shellcheck disable=SC2054 # QEMU's commas
VM_OPTIONS=(
    -machine q35 -accel tcg -cpu max -smp 2 -nodefaults -no-reboot -display none
    -append 'rdinit=/usb_road_init.sh console=ttyS0 quiet panic=-1 mitigations=off'
    -fsdev 'local,id=host,path=/,security_model=none,readonly=on,multidevs=remap'
    -device virtio-9p-pci,fsdev=host,mount_tag=host
)

# Leaves nothing of the job but its results; of two at a time, those of the later.
end_vm()
{
    end_started_processes
    VM_STATUS=$(cat "$VM_JOB/vm/status" 2>/dev/null) || VM_STATUS=''
    cat "$VM_JOB/console" "$VM_JOB/complaints" >"$VM_JOB/log" 2>/dev/null || true
    mv "$VM_JOB/log" "$VM_CONSOLE"
    (
        flock 9
        rm -rf "$VM_OUT"
        mv --no-target-directory "$VM_JOB/vm/out" "$VM_OUT"
    ) 9>"$VM_FOLDER/lock"
    rm -rf "$VM_JOB"
}

# explain_end STATUS SECONDS
explain_end()
{
    if (($1 == 124 || $1 == 137)); then
        printf 'Error: the virtual machine was ended, since it ran for more than %s s\n' "$2" >&2
        VM_STATUS=124
        return
    fi
    tail -n 40 "$VM_CONSOLE" >&2
    fail "the virtual machine ended before the command; all it said is in $VM_CONSOLE"
}
