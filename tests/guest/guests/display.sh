#!/bin/sh
# A guest with nothing but display.c on its screen. What that says of failures goes to the serial line.
modprobe -a virtio-pci virtio-gpu xhci-pci usbhid hid-generic
until [ -c /dev/dri/card0 ]; do sleep 1; done
/program </dev/tty0 2>/dev/ttyAMA0
while :; do sleep 60; done
