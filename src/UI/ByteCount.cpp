#include "UI/ByteCount.h"

#include <QLocale>

#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

QString inUnits(quint64 bytes, double base)
{
    static constexpr std::array<const char *, 6> units = {"bytes", "KB", "MB", "GB", "TB", "PB"};
    static constexpr std::array<int, 6> decimals = {0, 0, 1, 2, 2, 2};
    auto amount = static_cast<double>(bytes);
    std::size_t unit = 0;
    // A figure that would be rounded up to the next unit's "1" is shown in that unit.
    while (unit + 1 < units.size() && std::round(amount) >= base) {
        amount /= base;
        ++unit;
    }
    if (bytes == 0)
        return u"Zero KB"_s;
    if (bytes == 1)
        return u"1 byte"_s;
    const QLocale locale;
    QString figure = locale.toString(amount, 'f', decimals[unit]);
    if (decimals[unit] > 0) {
        while (figure.endsWith(locale.zeroDigit()))
            figure.chop(1);
        if (figure.endsWith(locale.decimalPoint()))
            figure.chop(locale.decimalPoint().size());
    }
    return figure + u' ' + QString::fromLatin1(units[unit]);
}

} // namespace

QString ByteCount::fileStyle(quint64 bytes)
{
    return inUnits(bytes, 1000);
}

QString ByteCount::memoryStyle(quint64 bytes)
{
    return inUnits(bytes, 1024);
}
