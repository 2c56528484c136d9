#!/bin/busybox sh
# /init of the test guest: loads the sequencer, puts the host's file system together at its
# own paths (read-only, under a writable layer in memory), runs the command that run-in-guest.sh left in the "run" share, writes its exit
# status back there and powers off.
/bin/busybox --install -s /bin
export PATH=/bin

mkdir -p /proc /sys /dev /host /run
mount -t proc proc /proc
mount -t sysfs sys /sys
mount -t devtmpfs dev /dev

fail() {
    echo "tavrel-guest: $*"
    poweroff -f
}

for module in virtio_pci 9pnet_virtio 9p overlay soundcore snd snd-timer snd-hrtimer snd-seq-device \
              snd-seq snd-seq-midi-event snd-seq-dummy snd-virmidi; do
    modprobe "$module" || fail "could not load $module"
done
[ -e /dev/snd/seq ] || fail "no /dev/snd/seq after loading the sequencer"

nine() {  # tag mountpoint [options]
    mount -t 9p -o "trans=virtio,version=9p2000.L,msize=512000,cache=none${3:+,$3}" "$1" "$2"
}
# The host's files under a layer of the guest's own memory: everything is at its usual path and
# writable, and what the guest writes there is gone when it powers off. Shares are written
# through to the host.
mkdir -p /lower /upper
nine host /lower ro || fail "could not mount the host's file system"
mount -t tmpfs tmpfs /upper && mkdir -p /upper/data /upper/work
mount -t overlay overlay -o lowerdir=/lower,upperdir=/upper/data,workdir=/upper/work /host ||
    fail "could not lay a writable layer over the host's file system"
nine run /run || fail "could not mount the run folder"
while read -r tag path; do
    nine "$tag" "/host$path" || fail "could not mount $path"
done </run/shares

# The guest's own kernel interfaces, devices and run-time folder, over the host's.
mount --bind /proc /host/proc
mount --bind /sys /host/sys
mkdir -p /dev/pts /dev/shm
mount --bind /dev /host/dev
mount -t devpts devpts /host/dev/pts
mount -t tmpfs tmpfs /host/dev/shm
mount -t tmpfs tmpfs /host/run
mkdir -p /host/run/tavrel-guest
mount --bind /run /host/run/tavrel-guest

echo; echo "tavrel-guest: start"
chroot /host /bin/sh /run/tavrel-guest/command.sh
status=$?
echo "$status" >/run/status
sync
echo; echo "tavrel-guest: exit $status"
poweroff -f
