#pragma once

#include "Platform/Hypervisor/VZVirtualMachineConfiguration.h"

#include <QString>
#include <QTemporaryDir>

/// A machine in a folder of its own that has nothing to boot but, perhaps, a script for the firmware's shell.
class GuestBundle
{
public:
    explicit GuestBundle(const QString &script = {});

    VZVirtualMachineConfiguration configuration;

    /// Formats a disk image as one file system with a script that the firmware's shell runs.
    static void addScript(const QString &disk, const QString &script);

private:
    QTemporaryDir m_folder;
};
