#include "Platform/Hypervisor/VZGenericMachineIdentifier.h"

#include <QCryptographicHash>

using namespace Qt::StringLiterals;

namespace {
constexpr QByteArrayView magic = "KELVO-ID";
constexpr qsizetype uuidBytes = 16;
} // namespace

VZGenericMachineIdentifier::VZGenericMachineIdentifier()
    : m_uuid(QUuid::createUuid())
{}

std::optional<VZGenericMachineIdentifier>
VZGenericMachineIdentifier::fromDataRepresentation(const QByteArray &bytes)
{
    if (bytes.size() != magic.size() + uuidBytes || !bytes.startsWith(magic))
        return std::nullopt;
    const QUuid uuid = QUuid::fromRfc4122(QByteArrayView(bytes).sliced(magic.size()));
    if (uuid.isNull())
        return std::nullopt;
    return VZGenericMachineIdentifier(uuid);
}

QByteArray VZGenericMachineIdentifier::dataRepresentation() const
{
    return magic.toByteArray() + m_uuid.toRfc4122();
}

QString VZGenericMachineIdentifier::macAddress() const
{
    // Hashed, so that no part of the identifier is given away to the guest's network.
    const QByteArray digest = QCryptographicHash::hash(m_uuid.toRfc4122(), QCryptographicHash::Sha256);
    return u"52:54:00:"_s + QString::fromLatin1(digest.first(3).toHex(':'));
}
