#pragma once

#include <QUrl>

#include <variant>

/// A raw disk or ISO image on the host.
class VZDiskImageStorageDeviceAttachment
{
public:
    /// Throws VZError (invalidDiskImage) unless the image is a regular file that the user may read and,
    /// without `readOnly`, write.
    VZDiskImageStorageDeviceAttachment(const QUrl &url, bool readOnly);

    [[nodiscard]] const QUrl &url() const { return m_url; }
    [[nodiscard]] bool isReadOnly() const { return m_isReadOnly; }

    bool operator==(const VZDiskImageStorageDeviceAttachment &) const = default;

private:
    QUrl m_url;
    bool m_isReadOnly = false;
};

struct VZVirtioBlockDeviceConfiguration
{
    VZDiskImageStorageDeviceAttachment attachment;

    bool operator==(const VZVirtioBlockDeviceConfiguration &) const = default;
};

struct VZNVMExpressControllerDeviceConfiguration
{
    VZDiskImageStorageDeviceAttachment attachment;

    bool operator==(const VZNVMExpressControllerDeviceConfiguration &) const = default;
};

using VZStorageDeviceConfiguration =
    std::variant<VZVirtioBlockDeviceConfiguration, VZNVMExpressControllerDeviceConfiguration>;

[[nodiscard]] inline const VZDiskImageStorageDeviceAttachment &
attachmentOf(const VZStorageDeviceConfiguration &device)
{
    return std::visit(
        [](const auto &kind) -> const auto & { return kind.attachment; }, device);
}
