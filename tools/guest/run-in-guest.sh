#!/usr/bin/env bash
# Runs one command inside a throw-away qemu guest whose kernel has an ALSA sequencer, and
# exits with the command's own status.
#
#   tools/guest/run-in-guest.sh [--share DIR]... [--env NAME=VALUE]... [--timeout SECONDS]
#                               -- COMMAND [ARGS]...
#
# The guest sees this computer's file system at the same paths (through 9p), so the command runs
# the very binaries and libraries built here. What it writes stays in the guest's memory and is
# gone when the guest powers off, except in each --share DIR (a build folder, say), which is
# written through. The command starts in the current folder.
#
# Everything the guest needs comes from Debian's packages: a kernel image and busybox, fetched
# with apt-get download and unpacked into a cache (nothing is installed but qemu itself). The
# kernel is booted decompressed, which is much quicker under software emulation, and the
# initramfs (busybox, the sound and 9p modules, an /init) does not depend on the command, so
# after the first run a guest costs the boot (about two seconds) and the command.
#
# Exit status: the command's, or 125 when the guest itself failed (it could not be built,
# did not boot, or powered off without reporting), with the end of its console shown.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
cache=${TAVREL_GUEST_CACHE:-${XDG_CACHE_HOME:-${HOME:-/tmp}/.cache}/tavrel/guest}
timeout=600
shares=()
envs=()

die() { echo "run-in-guest: $*" >&2; exit 125; }

while [ $# -gt 0 ]; do
    case "$1" in
        --share) shares+=("$(cd "$2" && pwd)") || die "no folder $2"; shift 2 ;;
        --env) envs+=("$2"); shift 2 ;;
        --timeout) timeout=$2; shift 2 ;;
        --) shift; break ;;
        -*) die "unknown option $1" ;;
        *) break ;;
    esac
done
[ $# -gt 0 ] || die "no command given"
command -v qemu-system-x86_64 >/dev/null || die "qemu-system-x86_64 is missing (Debian package qemu-system-x86)"

# --- the cached kernel, modules and initramfs -------------------------------------------------

kernel_package() {
    apt-cache depends linux-image-amd64 2>/dev/null |
        awk '/Depends: linux-image-[0-9]/ { print $2; exit }'
}

fetch_packages() {  # folder
    local into=$1 kernel
    kernel=$(kernel_package)
    if [ -z "$kernel" ] && [ "$(id -u)" -eq 0 ]; then  # a fresh machine's lists may be empty
        apt-get update -q >/dev/null 2>&1 || true
        kernel=$(kernel_package)
    fi
    [ -n "$kernel" ] || die "apt-cache knows no kernel image behind linux-image-amd64 (run apt-get update)"
    mkdir -p "$into/debs" "$into/tree"
    (cd "$into/debs" && apt-get download "$kernel" busybox-static >/dev/null 2>"$into/download.log") ||
        die "apt-get download failed: $(tail -n 3 "$into/download.log")"
    for deb in "$into"/debs/*.deb; do dpkg -x "$deb" "$into/tree"; done
}

# The bzImage carries the kernel as an xz stream; booting the ELF inside it through its PVH entry
# skips the decompression, which is slow under emulation.
extract_vmlinux() {  # vmlinuz output
    local offset
    offset=$(python3 -c 'import sys; print(open(sys.argv[1], "rb").read().find(b"\xfd7zXZ\x00"))' "$1")
    [ "$offset" -ge 0 ] || die "no xz payload in $1"
    tail -c +"$((offset + 1))" "$1" | xz -dc >"$2" 2>/dev/null || true  # trailing data is expected
    head -c 4 "$2" | grep -q ELF || die "the payload of $1 is not an ELF kernel"
}

# The modules the guest loads, in order; modprobe adds what each depends on.
MODULES=(snd-seq-dummy snd-hrtimer snd-virmidi virtio_pci 9pnet_virtio 9p overlay)

copy_modules() {  # tree version initramfs-root
    local tree=$1 version=$2 root=$3 base="$1/lib/modules/$2" want
    "$tree/bin/busybox" depmod -b "$tree" "$version"
    for module in "${MODULES[@]}"; do
        want=$(grep -E "/${module//[-_]/[-_]}\.ko:" "$base/modules.dep") || die "no module $module in the kernel package"
        for ko in ${want/:/}; do
            mkdir -p "$root/lib/modules/$version/$(dirname "$ko")"
            cp "$base/$ko" "$root/lib/modules/$version/$ko"
        done
    done
    "$tree/bin/busybox" depmod -b "$root" "$version"
}

build_cache() {
    local work version
    work=$(mktemp -d "$cache.new.XXXXXX")
    fetch_packages "$work"
    version=$(basename "$(ls -d "$work"/tree/lib/modules/*/ | head -n 1)")
    extract_vmlinux "$work"/tree/boot/vmlinuz-"$version" "$work/vmlinux"
    mkdir -p "$work/initramfs/bin"
    cp "$work/tree/bin/busybox" "$work/initramfs/bin/busybox"
    cp "$here/guest-init.sh" "$work/initramfs/init"
    chmod +x "$work/initramfs/init"
    copy_modules "$work/tree" "$version" "$work/initramfs"
    (cd "$work/initramfs" && find . | "$work/tree/bin/busybox" cpio -o -H newc 2>/dev/null | gzip -1) \
        >"$work/initramfs.cpio.gz"
    sha256sum "$here/guest-init.sh" | cut -d' ' -f1 >"$work/init.sum"
    rm -rf "$work/tree" "$work/debs" "$work/initramfs"
    mv "$work" "$cache"
}

cache_is_current() {
    [ -s "$cache/vmlinux" ] && [ -s "$cache/initramfs.cpio.gz" ] &&
        [ "$(cat "$cache/init.sum" 2>/dev/null)" = "$(sha256sum "$here/guest-init.sh" | cut -d' ' -f1)" ]
}

# Guests may start side by side. Each holds a shared lock on the cache while it runs; one that
# finds the cache out of date takes it alone to rebuild it, once the running guests are done.
mkdir -p "$(dirname "$cache")"
exec 9>"$cache.lock"
flock -s 9
if ! cache_is_current; then
    flock 9
    if ! cache_is_current; then
        echo "run-in-guest: preparing the guest in $cache (once)" >&2
        rm -rf "$cache"
        build_cache
    fi
    flock -s 9
fi

# --- one run ----------------------------------------------------------------------------------

run=$(mktemp -d "${TMPDIR:-/tmp}/tavrel-guest.XXXXXX")
trap '[ -n "${TAVREL_GUEST_KEEP:-}" ] || rm -rf "$run"' EXIT
{
    echo "cd $(printf '%q' "$PWD") || exit 125"
    echo "export PATH=$(printf '%q' "$PATH") LANG=C.UTF-8 HOME=/root TAVREL_IN_GUEST=1"
    for e in "${envs[@]}"; do echo "export $(printf '%q' "$e")"; done
    printf '%q ' "$@"
    echo
} >"$run/command.sh"
: >"$run/shares"
virtfs=(-virtfs "local,path=/,mount_tag=host,security_model=none,readonly=on,multidevs=remap"
        -virtfs "local,path=$run,mount_tag=run,security_model=none")
for i in "${!shares[@]}"; do
    echo "share$i ${shares[$i]}" >>"$run/shares"
    virtfs+=(-virtfs "local,path=${shares[$i]},mount_tag=share$i,security_model=none,multidevs=remap")
done

# Software emulation: the paravirtual KVM here cannot boot a stock kernel. Crypto self-tests
# are skipped because they dominate an emulated boot. The processor offers no AVX: the
# emulator's AVX2 masked loads fault on lanes that real hardware skips, which killed Qt's
# drawing whenever a buffer began a mapping (as under ThreadSanitizer's allocator); Qt and the
# C library then take their SSE paths. The console streams the command's output, found between
# the guest's own lines, as it comes.
set +e
timeout --kill-after=10 "$timeout" qemu-system-x86_64 \
    -accel tcg -cpu Westmere -smp 2 -m 2048 -nographic -no-reboot -nodefaults -serial stdio \
    -kernel "$cache/vmlinux" -initrd "$cache/initramfs.cpio.gz" \
    -append "console=ttyS0 quiet panic=-1 cryptomgr.notests rdinit=/init" \
    "${virtfs[@]}" </dev/null 2>&1 | tee "$run/console" |
    sed -u -n 's/\r$//; /^tavrel-guest: start$/,/^tavrel-guest: exit /{/^tavrel-guest: /d;p}'
status=${PIPESTATUS[0]}
set -e
if [ ! -s "$run/status" ]; then
    echo "run-in-guest: the guest did not report an exit status (qemu exit $status); its console ends:" >&2
    tail -n 30 "$run/console" | tr -d '\r' >&2
    exit 125
fi
exit "$(cat "$run/status")"
