#include "UI/Components/ByteCount.h"

#include <QCoreApplication>
#include <QLocale>

#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

QString inUnits(quint64 bytes, double base)
{
    static constexpr std::array<const char *, 6> units = {
        QT_TRANSLATE_NOOP("ByteCount", "bytes"), QT_TRANSLATE_NOOP("ByteCount", "KB"),
        QT_TRANSLATE_NOOP("ByteCount", "MB"),    QT_TRANSLATE_NOOP("ByteCount", "GB"),
        QT_TRANSLATE_NOOP("ByteCount", "TB"),    QT_TRANSLATE_NOOP("ByteCount", "PB")};
    static constexpr std::array<int, 6> decimals = {0, 0, 1, 2, 2, 2};
    auto amount = static_cast<double>(bytes);
    std::size_t unit = 0;
    // A figure that would be rounded up to the next unit's "1" is shown in that unit.
    while (unit + 1 < units.size() && std::round(amount) >= base) {
        amount /= base;
        ++unit;
    }
    if (bytes == 0)
        return QCoreApplication::translate("ByteCount", "Zero KB");
    if (bytes == 1)
        return QCoreApplication::translate("ByteCount", "1 byte");
    const QLocale locale;
    QString figure = locale.toString(amount, 'f', decimals[unit]);
    if (decimals[unit] > 0) {
        while (figure.endsWith(locale.zeroDigit()))
            figure.chop(1);
        if (figure.endsWith(locale.decimalPoint()))
            figure.chop(locale.decimalPoint().size());
    }
    return figure + u' ' + QCoreApplication::translate("ByteCount", units[unit]);
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
