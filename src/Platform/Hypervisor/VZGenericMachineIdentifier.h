#pragma once

#include <QByteArray>
#include <QUuid>

#include <optional>

/// Who a guest takes itself for: its SMBIOS system UUID and its network address come from it.
class VZGenericMachineIdentifier
{
public:
    /// A new random one.
    VZGenericMachineIdentifier();
    /// What dataRepresentation() gave once; no value for anything else.
    [[nodiscard]] static std::optional<VZGenericMachineIdentifier>
    fromDataRepresentation(const QByteArray &bytes);

    /// 24 bytes: "KELVO-ID" and the UUID in network byte order (RFC 4122, section 4.1.2).
    [[nodiscard]] QByteArray dataRepresentation() const;
    /// Never the nil one.
    [[nodiscard]] const QUuid &uuid() const { return m_uuid; }
    /// A locally administered unicast address (IEEE 802), "52:54:00:xx:xx:xx".
    [[nodiscard]] QString macAddress() const;

    bool operator==(const VZGenericMachineIdentifier &) const = default;

private:
    explicit VZGenericMachineIdentifier(const QUuid &uuid)
        : m_uuid(uuid)
    {}

    QUuid m_uuid;
};
