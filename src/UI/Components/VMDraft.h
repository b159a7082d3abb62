#pragma once

#include "Models/VMConfiguration.h"
#include "UI/Components/VMChoices.h"

#include <QUrl>
#include <QtQml/qqmlregistration.h>

/// What a person chooses for a machine that is to be made or changed. Views take what is chosen from a list
/// by its index in VMChoices: −1 for what is not in there, and an index beside the list chooses nothing.
struct VMDraft
{
    Q_GADGET
    QML_VALUE_TYPE(vmDraft)
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QUrl storageLocation MEMBER storageLocation)
    Q_PROPERTY(int guestIndex READ guestIndex WRITE setGuestIndex)
    Q_PROPERTY(int mediaTypeIndex READ mediaTypeIndex WRITE setMediaTypeIndex)
    Q_PROPERTY(QUrl iso MEMBER iso)
    Q_PROPERTY(QUrl drivers MEMBER drivers)
    Q_PROPERTY(bool startsInstallation MEMBER startsInstallation)
    Q_PROPERTY(int cpuCount MEMBER cpuCount)
    Q_PROPERTY(int memoryIndex READ memoryIndex WRITE setMemoryIndex)
    Q_PROPERTY(QString memoryText READ memoryText)
    Q_PROPERTY(int diskIndex READ diskIndex WRITE setDiskIndex)
    Q_PROPERTY(int networkIndex READ networkIndex WRITE setNetworkIndex)
    Q_PROPERTY(int displayWidth MEMBER displayWidth)
    Q_PROPERTY(int displayHeight MEMBER displayHeight)
    Q_PROPERTY(double displayScaling MEMBER displayScaling)
    Q_PROPERTY(bool hasDisplayDriver MEMBER hasDisplayDriver)

public:
    QString name;
    QUrl storageLocation = VMConfiguration::defaultStorageRoot();
    GuestOperatingSystem guestOS = GuestOperatingSystem::windows11ARM64;
    InstallationMediaType mediaType = InstallationMediaType::iso;
    QUrl iso;
    QUrl drivers;
    bool startsInstallation = true;
    int cpuCount = 4;
    quint64 memoryBytes = quint64(8) << 30;
    quint64 diskBytes = quint64(128) << 30;
    VMNetworkMode networkMode = VMNetworkMode::nat;
    int displayWidth = 1920;
    int displayHeight = 1080;
    double displayScaling = 1.0;
    bool hasDisplayDriver = false; ///< the guest has a driver for a virtio display, see displayDriverMark

    bool operator==(const VMDraft &) const = default;

    [[nodiscard]] int guestIndex() const
    {
        return VMChoices::indexIn(allCases<GuestOperatingSystem>, guestOS);
    }
    void setGuestIndex(int index) { VMChoices::choose(guestOS, allCases<GuestOperatingSystem>, index); }
    [[nodiscard]] int mediaTypeIndex() const
    {
        return VMChoices::indexIn(allCases<InstallationMediaType>, mediaType);
    }
    void setMediaTypeIndex(int index)
    {
        VMChoices::choose(mediaType, allCases<InstallationMediaType>, index);
    }
    [[nodiscard]] int memoryIndex() const
    {
        return VMChoices::indexIn(VMConfiguration::memoryOptions(), memoryBytes);
    }
    void setMemoryIndex(int index)
    {
        VMChoices::choose(memoryBytes, VMConfiguration::memoryOptions(), index);
    }
    [[nodiscard]] QString memoryText() const { return VMChoices::sizeText(memoryBytes); }
    [[nodiscard]] int diskIndex() const
    {
        return VMChoices::indexIn(VMConfiguration::diskOptions(), diskBytes);
    }
    void setDiskIndex(int index) { VMChoices::choose(diskBytes, VMConfiguration::diskOptions(), index); }
    [[nodiscard]] int networkIndex() const
    {
        return VMChoices::indexIn(allCases<VMNetworkMode>, networkMode);
    }
    void setNetworkIndex(int index) { VMChoices::choose(networkMode, allCases<VMNetworkMode>, index); }
};
