"""A library of machines to show, as the documents in a home folder."""

import json
import os
import uuid

GIB = 1 << 30
INSTALLED = "Windows 11"
LINUX = "Fedora Server"
OFF = "Debian 12"
NEW = "Windows 11 Preview"
BROKEN = "Windows for nightly tests of a branch"


IMAGE = "Windows11_ARM64.iso"


def make_images(home):
    """Folders with images to choose from; nothing in them boots."""
    for folder in ("Documents", "Images/Older"):
        (home / folder).mkdir(parents=True)
    for name in (IMAGE, "debian-12-arm64-netinst.iso", "virtio-win-arm64.iso"):
        _make_sparse(home / "Images" / name, 1 << 20)


def make_machines(home):
    """Machines in every condition that lasts: ready, to be installed, being installed, and one that cannot start."""
    image = home / "Images" / IMAGE
    _add(home, OFF, "Linux ARM64", cpuCount=2, memorySizeBytes=16 * GIB, diskSizeBytes=256 * GIB)
    _add(home, LINUX, "Linux ARM64", cpuCount=2, memorySizeBytes=4 * GIB, diskSizeBytes=64 * GIB)
    _add(home, "FreeBSD 14", "Other ARM64 OS", "inProgress", installationMediaPath=str(image), installationMediaType="iso")
    _add(home, INSTALLED, "Windows 11 ARM64", cpuCount=4, memorySizeBytes=4 * GIB)
    _add(home, NEW, "Windows 11 ARM64", "notStarted", installationMediaPath=str(image), installationMediaType="iso")
    (_add(home, BROKEN, "Windows 11 ARM64") / "disk.img").unlink()


def _add(home, name, guest, installation="completed", **changes):
    bundle = home / "Virtual Machines" / f"{name}.vm"
    bundle.mkdir(parents=True)
    # Always the same, also the display's port that follows from it.
    identifier = uuid.uuid5(uuid.NAMESPACE_DNS, f"{name}.example.org")
    configuration = {
        "id": str(identifier).upper(), "name": name, "guestOS": guest, "cpuCount": 4, "memorySizeBytes": 8 * GIB,
        "diskSizeBytes": 128 * GIB, "networkMode": "Shared (NAT)", "storageDirectory": bundle.as_uri() + "/",
        "createdAt": "2025-03-01T10:15:00Z", "modifiedAt": "2025-03-01T10:15:00Z",
    } | changes
    (bundle / "config.json").write_text(json.dumps(configuration))
    (bundle / "metadata.json").write_text(json.dumps({"version": 2, "installationState": installation}))
    _make_sparse(bundle / "disk.img", configuration["diskSizeBytes"], used=len(name) << 20)
    return bundle


def _make_sparse(path, size, used=0):
    with open(path, "wb") as file:
        os.truncate(file.fileno(), size)
        if used:
            os.posix_fallocate(file.fileno(), 0, used)
