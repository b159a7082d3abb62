#!/usr/bin/python3
"""What is signed starts on a Windows machine, and nothing else: secure_boot_test.py PROGRAM KEPT_FOLDER IMAGE"""

import struct
import sys
from pathlib import Path

from firmware import shows_refusal
from installer import TIMEOUT
from stage import run

NAME = "Windows 11"
GREEN = (0, 170, 0)
AARCH64 = 0xaa64


def is_secure(picture):
    return picture.share(GREEN, (0.2, 0.2, 0.8, 0.9)) > 0.98


def without_signatures(image):
    """The image with every boot program's certificate table gone (Microsoft PE format, "Optional header data directories")."""
    image = bytearray(image)
    programs = 0
    for start in range(0, len(image), 512):
        if image[start:start + 2] != b"MZ":
            continue
        header = start + struct.unpack_from("<I", image, start + 0x3c)[0]
        if image[header:header + 4] == b"PE\0\0" and struct.unpack_from("<H", image, header + 4)[0] == AARCH64:
            image[header + 24 + 144:header + 24 + 152] = bytes(8)
            programs += 1
    assert programs, "the image has no boot program"
    return bytes(image)


def signed_programs_start(stage):
    signed = Path(sys.argv[3]).read_bytes()
    image = stage.home / "system.iso"
    image.write_bytes(without_signatures(signed))
    with stage.kelvo() as kelvo:
        kelvo.create_machine(image)
        kelvo.wait_for_picture(NAME, shows_refusal, TIMEOUT, "the firmware to refuse what nobody has signed")
        kelvo.stop(NAME)
        image.write_bytes(signed)
        kelvo.console(NAME).find("Install", "button").press()
        kelvo.wait_for_picture(NAME, is_secure, TIMEOUT, "a system that was started securely")
        kelvo.stop(NAME)
        stage.check_nothing_left()
        kelvo.quit()


if __name__ == "__main__":
    run(signed_programs_start, 2 * TIMEOUT)
