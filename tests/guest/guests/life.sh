#!/bin/sh
# A guest that installs a small system from its medium and powers itself off. The system asks for a login and gives a shell;
# its screen tells how it goes: blue at the login, green there if the note of an earlier run is on the disk, cyan in the
# shell, red after a failure.
NOTE=/disk/note.txt

paint() { printf '\033[%sm\033[2J\033[H' "$1" >/dev/tty1; }
fail()
{
    paint '37;41'
    echo "failed: $1" >/dev/tty1
    while :; do sleep 60; done
}

depmod 2>/dev/null
modprobe -a virtio-pci virtio-gpu xhci-pci usbhid hid-generic usb-storage uas sd_mod sr_mod virtio_blk isofs vfat nls_cp437 nls_ascii
until [ -c /dev/fb0 ]; do sleep 1; done
mkdir -p /disk /medium

if grep -qw installed /proc/cmdline; then
    until [ -b /dev/vda1 ]; do sleep 1; done
    mount -t vfat -o sync /dev/vda1 /disk || fail 'the disk is not mounted'
    exec </dev/tty1 >/dev/tty1 2>&1
    colour='37;44'
    [ "$(cat "$NOTE" 2>/dev/null)" != 'still here' ] || colour='30;42'
    paint "$colour"
    [ ! -f "$NOTE" ] || echo "$NOTE: $(cat "$NOTE")"
    name=
    until [ "$name" = kelvo ]; do
        printf 'login: '
        read -r name
    done
    paint '30;46'
    cd /disk || fail 'no disk'
    # Not the first process: the guest survives its end.
    while :; do sh -i; done
fi

# The medium, by the label of its volume (ECMA-119, section 8.4.7), whatever kind of disk it is.
medium=
until [ -n "$medium" ]; do
    for disk in /dev/sr? /dev/sd? /dev/vd?; do
        [ -b "$disk" ] || continue
        [ "$(dd if="$disk" bs=1 skip=32808 count=11 2>/dev/null)" != KELVO_GUEST ] || medium=$disk
    done
    [ -n "$medium" ] || sleep 1
done
mount -t iso9660 -o ro "$medium" /medium || fail "$medium is not mounted"
until [ -b /dev/vda ]; do sleep 1; done
paint '30;47'
echo "Installing from $medium to /dev/vda" >/dev/tty1

# A partition table with one EFI system partition of 160 MiB from sector 2048 on (UEFI 2.10, section 5.2).
printf '\000\377\377\377\357\377\377\377\000\010\000\000\000\000\005\000' |
    dd of=/dev/vda bs=1 seek=446 conv=notrunc 2>/dev/null || fail 'no partition table'
printf '\125\252' | dd of=/dev/vda bs=1 seek=510 conv=notrunc 2>/dev/null || fail 'no partition table'
zcat /medium/system/esp.gz | dd of=/dev/vda bs=1048576 seek=1 conv=notrunc 2>/dev/null || fail 'no file system'
sync
# Nothing here asks the kernel to read the table again: the driver does when it starts.
modprobe -r virtio_blk && modprobe virtio_blk
until [ -b /dev/vda1 ]; do sleep 1; done
mount -t vfat /dev/vda1 /disk || fail 'the disk is not mounted'
mkdir -p /disk/EFI/BOOT /disk/debian-installer/arm64/grub
cp /medium/linux /medium/initrd.gz /disk/ || fail 'no kernel was copied'
cp /medium/system/*.EFI /medium/system/*.efi /disk/EFI/BOOT/ || fail 'no boot loader was copied'
cp /medium/system/grub.cfg /disk/debian-installer/arm64/grub/ || fail 'no menu was copied'
umount /disk || fail 'the disk is still in use'
sync
poweroff -f
sleep 60
