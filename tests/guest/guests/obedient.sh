#!/bin/sh
# A guest that turns its screen grey, and powers itself off once its power button is pressed. The button's interrupt is
# counted, as nothing here listens for its key.
modprobe -a virtio-pci virtio-gpu
presses() { grep Ged /proc/interrupts | tr -s ' ' | cut -d ' ' -f 2-6; }
before=$(presses)
until [ -c /dev/fb0 ]; do sleep 1; done
printf '\033[47m\033[2J' >/dev/tty0
while [ "$(presses)" = "$before" ]; do sleep 1; done
echo o >/proc/sysrq-trigger
sleep 60
