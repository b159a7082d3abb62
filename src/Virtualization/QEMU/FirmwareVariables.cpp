#include "Virtualization/QEMU/FirmwareVariables.h"

#include <QUuid>
#include <QtEndian>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr QUuid volumeKind{0xfff12b8d, 0x7696, 0x4c8b, 0xa9, 0x85, 0x27, 0x47, 0x07, 0x5b, 0x4f, 0x50};
constexpr QUuid storeKind{0xaaf32c78, 0x947b, 0x439a, 0xa1, 0x80, 0x2e, 0x14, 0x4e, 0xc3, 0x77, 0x92};
constexpr QUuid platformConfigVendor{0x7235c51c, 0x0c80, 0x4cab, 0x87, 0xac, 0x3b,
                                     0x08,       0x4a,   0x63,   0x04, 0xb1};
const QString platformConfig = u"PlatformConfig"_s;

// Places within the volume's header.
constexpr qsizetype volumeKindAt = 16;
constexpr qsizetype volumeSignatureAt = 40;
constexpr qsizetype volumeHeaderLengthAt = 48;

// The store's header: its kind, its size with the header, its format and state.
constexpr qsizetype storeHeaderBytes = 28;
constexpr qsizetype storeSizeAt = 16;
constexpr qsizetype storeFormatAt = 20;
constexpr QByteArrayView formattedAndHealthy{"\x5a\xfe"};

// A variable's header: start, state, attributes, what authenticates it, the sizes of name and data, its
// vendor.
constexpr qsizetype headerBytes = 60;
constexpr qsizetype stateAt = 2;
constexpr qsizetype attributesAt = 4;
constexpr qsizetype nameSizeAt = 36;
constexpr qsizetype dataSizeAt = 40;
constexpr qsizetype vendorAt = 44;
constexpr quint16 variableStart = 0x55aa;
constexpr char variableAdded = 0x3f;
constexpr quint32 nonVolatileInBootServices = 0x3;
constexpr qsizetype alignment = 4;
constexpr char erased = '\xff';

template<typename Integer>
Integer integerAt(QByteArrayView bytes, qsizetype place)
{
    return qFromLittleEndian<Integer>(bytes.sliced(place, sizeof(Integer)).data());
}

QByteArray littleEndian(quint32 value)
{
    QByteArray result(sizeof value, Qt::Uninitialized);
    qToLittleEndian(value, result.data());
    return result;
}

/// As firmware writes it: the first three parts are little endian.
QByteArray bytesOf(const QUuid &kind)
{
    QByteArray bytes = kind.toRfc4122();
    std::reverse(bytes.begin(), bytes.begin() + 4);
    std::reverse(bytes.begin() + 4, bytes.begin() + 6);
    std::reverse(bytes.begin() + 6, bytes.begin() + 8);
    return bytes;
}

/// With the character that ends it.
QByteArray encodedName(const QString &name)
{
    QByteArray result;
    for (const QChar character : name + QChar()) {
        result.append(static_cast<char>(character.cell()));
        result.append(static_cast<char>(character.row()));
    }
    return result;
}

QByteArray variable(const QUuid &vendor, const QString &name, const QByteArray &data)
{
    const QByteArray encoded = encodedName(name);
    QByteArray result(headerBytes, '\0');
    qToLittleEndian(variableStart, result.data());
    result[stateAt] = variableAdded;
    result.replace(attributesAt, 4, littleEndian(nonVolatileInBootServices));
    result.replace(nameSizeAt, 4, littleEndian(static_cast<quint32>(encoded.size())));
    result.replace(dataSizeAt, 4, littleEndian(static_cast<quint32>(data.size())));
    result.replace(vendorAt, 16, bytesOf(vendor));
    return result + encoded + data;
}

/// The store with its header, at `begin`; empty where it is none.
QByteArrayView variableStore(QByteArrayView image, qsizetype &begin)
{
    if (image.size() < volumeHeaderLengthAt + 2 || image.sliced(volumeSignatureAt, 4) != "_FVH" ||
        image.sliced(volumeKindAt, 16) != bytesOf(volumeKind))
        return {};
    begin = integerAt<quint16>(image, volumeHeaderLengthAt);
    if (image.size() < begin + storeHeaderBytes || image.sliced(begin, 16) != bytesOf(storeKind))
        return {};
    const quint32 size = integerAt<quint32>(image, begin + storeSizeAt);
    if (size < storeHeaderBytes || size > image.size() - begin ||
        image.sliced(begin + storeFormatAt, 2) != formattedAndHealthy)
        return {};
    return image.sliced(begin, size);
}

bool fits(QByteArrayView store, qsizetype place, qint64 bytes)
{
    return bytes <= store.size() - place;
}

} // namespace

std::optional<FileManager::Amendment> FirmwareVariables::screenSize(const QByteArray &image, quint32 width,
                                                                    quint32 height)
{
    qsizetype begin = 0;
    const QByteArrayView store = variableStore(image, begin);
    const QByteArray name = encodedName(platformConfig);
    qsizetype place = storeHeaderBytes;
    while (fits(store, place, headerBytes) && integerAt<quint16>(store, place) == variableStart) {
        const qint64 nameSize = integerAt<quint32>(store, place + nameSizeAt);
        const qint64 dataSize = integerAt<quint32>(store, place + dataSizeAt);
        if (!fits(store, place + headerBytes, nameSize + dataSize))
            return std::nullopt;
        if (store.sliced(place + headerBytes, nameSize) == name)
            return std::nullopt;
        place += (headerBytes + nameSize + dataSize + alignment - 1) / alignment * alignment;
    }
    const QByteArray added =
        variable(platformConfigVendor, platformConfig, littleEndian(width) + littleEndian(height));
    if (!fits(store, place, added.size()) ||
        !std::ranges::all_of(store.sliced(place, added.size()), [](char byte) { return byte == erased; }))
        return std::nullopt;
    return FileManager::Amendment{.offset = begin + place, .bytes = added};
}
