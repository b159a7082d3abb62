#pragma once

#include "Models/InstallationMediaType.h"
#include "Models/VMBackendType.h"
#include "Models/VMNetworkMode.h"

#include <QDateTime>
#include <QList>
#include <QUrl>
#include <QUuid>

/// The whole persistent description of one virtual machine.
struct VMConfiguration
{
    QUuid id;
    QString name; ///< as typed; bundleFolderName() makes a folder's name of it
    GuestOperatingSystem guestOS = GuestOperatingSystem::windows11ARM64;
    VMBackendType backend = VMBackendType::qemuHVF;
    qint64 cpuCount = 0;
    quint64 memorySizeBytes = 0;
    quint64 diskSizeBytes = 0;
    VMNetworkMode networkMode = VMNetworkMode::nat;
    QUrl storageDirectory; ///< the bundle
    QString diskFileName;
    QString efiVariableStoreFileName;
    QString machineIdentifierFileName;
    std::optional<QString> installationMediaPath;
    std::optional<InstallationMediaType> installationMediaType;
    std::optional<QString> virtioDriversMediaPath;
    qint64 displayWidth = 0;  ///< pixels
    qint64 displayHeight = 0; ///< pixels
    double displayScaling = 0;
    qint64 vncPort = 0; ///< TCP port of the QEMU backend's display on 127.0.0.1
    QDateTime createdAt;
    QDateTime modifiedAt;

    bool operator==(const VMConfiguration &) const = default;

    [[nodiscard]] static VMConfiguration defaultConfiguration(const QString &name,
                                                              GuestOperatingSystem guestOS);
    /// 5901 to 6000, the same for an identifier on every host and at every launch.
    [[nodiscard]] static qint64 defaultVNCPort(const QUuid &id);
    /// "Virtual Machines" in the home folder.
    [[nodiscard]] static const QUrl &defaultStorageRoot();
    /// The name followed by ".vm", changed where it would not be one visible folder directly inside another:
    /// slashes and a leading dot become "_", a name too long for the file system is cut.
    [[nodiscard]] static QString bundleFolderName(const QString &name);

    [[nodiscard]] static const QList<quint64> &memoryOptions(); ///< bytes, ascending
    [[nodiscard]] static const QList<quint64> &diskOptions();   ///< bytes, ascending

    [[nodiscard]] qint64 memorySizeGB() const; ///< whole GiB
    [[nodiscard]] qint64 diskSizeGB() const;   ///< whole GiB
    [[nodiscard]] QUrl diskURL() const;
    [[nodiscard]] QUrl efiVariableStoreURL() const;
    [[nodiscard]] QUrl machineIdentifierURL() const;
    [[nodiscard]] QUrl configFileURL() const;
    [[nodiscard]] QUrl metadataFileURL() const;
    [[nodiscard]] QUrl uefiVarsURL() const;
    [[nodiscard]] QUrl qmpSocketURL() const;
    [[nodiscard]] QUrl serialLogURL() const;
    [[nodiscard]] std::optional<QUrl> installationMediaURL() const;
    [[nodiscard]] std::optional<QUrl> virtioDriversMediaURL() const;
    /// `vncPort` − 5900, never negative.
    [[nodiscard]] qint64 vncDisplayNumber() const;
};
