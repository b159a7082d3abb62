#!/bin/sh
# A guest that turns its screen green where the kernel says that Secure Boot is on, and red elsewhere. It never ends.
modprobe -a virtio-pci virtio-gpu
until [ -c /dev/fb0 ]; do sleep 1; done
colour=41
! dmesg | grep -q 'Secure boot enabled' || colour=42
printf '\033[%sm\033[2J' "$colour" >/dev/tty0
while true; do sleep 60; done
