#pragma once

#include "Platform/Hypervisor/VZVirtualMachineConfiguration.h"

#include <QString>
#include <QTemporaryDir>

/// While this lives, temporary folders are made on a file system with little space. Needs root.
class SmallFileSystem
{
public:
    SmallFileSystem();
    ~SmallFileSystem();

    void grow() const;

    /// For the firmware's shell: writes more than there is space for, then powers off. Needs addLargeFile().
    static const QString fillingScript;
    static void addLargeFile(const QString &disk);

private:
    QTemporaryDir m_place;
};

/// A machine in a folder of its own that has nothing to boot but, perhaps, a script for the firmware's shell.
class GuestBundle
{
public:
    explicit GuestBundle(const QString &script = {});

    VZVirtualMachineConfiguration configuration;

    /// Formats a disk image as one file system with a script that the firmware's shell runs.
    static void addScript(const QString &disk, const QString &script);
    /// To such a file system.
    static void addFile(const QString &disk, const QString &name, const QByteArray &bytes);

private:
    QTemporaryDir m_folder;
};
