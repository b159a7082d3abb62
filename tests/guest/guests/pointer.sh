#!/bin/sh
# A guest that draws a white square where its pointer is pressed, and no other: 32 by 32 pixels around the place that its
# USB tablet reports (Linux, Documentation/hid/hidraw.rst). Around it the screen is blue.
modprobe -a virtio-pci virtio-gpu xhci-pci usbhid hid-generic
until [ -c /dev/fb0 ]; do sleep 1; done
until tablet=$(grep -ls Tablet /sys/class/hidraw/*/device/uevent); do sleep 1; done
tablet=${tablet%%/device/uevent*}
IFS=, read -r width height </sys/class/graphics/fb0/virtual_size
read -r stride </sys/class/graphics/fb0/stride
dd if=/dev/zero bs=128 count=1 2>/dev/null | tr '\0' '\377' >/row

# square FILE X Y: from the top left corner, in pixels of four bytes; the file is one row of it.
square()
{
    for line in $(seq 0 31); do
        dd if="$1" of=/dev/fb0 bs=4 seek=$((($3 + line) * stride / 4 + $2)) conv=notrunc 2>/dev/null
    done
}

printf '\033[?25l\033[44m\033[2J' >/dev/tty0
sleep 1
left='' top='' was=0
exec 3<"/dev/${tablet##*/}"
while :; do
    # The buttons, then the place, twice from 0 to 32767 with the lower byte first; cmp shows the bytes that are not 0.
    buttons=0 x=0 y=0
    report=$(dd bs=64 count=1 <&3 2>/dev/null | cmp -l - /dev/zero 2>/dev/null)
    while read -r place byte _; do
        case $place in
            1) buttons=$((0$byte)) ;;
            2) x=$((x + 0$byte)) ;;
            3) x=$((x + 256 * 0$byte)) ;;
            4) y=$((y + 0$byte)) ;;
            5) y=$((y + 256 * 0$byte)) ;;
        esac
    done <<HERE
$report
HERE
    if [ "$buttons" = 1 ] && [ "$was" = 0 ]; then
        [ -z "$left" ] || square /under "$left" "$top"
        left=$(((x * width + 16384) / 32768 - 16)) top=$(((y * height + 16384) / 32768 - 16))
        dd if=/dev/fb0 of=/under bs=4 skip=$((top * stride / 4 + left)) count=32 2>/dev/null
        square /row "$left" "$top"
    fi
    was=$buttons
done
