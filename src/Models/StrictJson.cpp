#include "Models/StrictJson.h"

#include <QJsonDocument>
#include <QTimeZone>

#include <cmath>

namespace StrictJson {

namespace {

QJsonObject parse(const QByteArray &document)
{
    const QJsonDocument json = QJsonDocument::fromJson(document);
    if (!json.isObject())
        throw Fault();
    return json.object();
}

int digits(QStringView text)
{
    int number = 0;
    for (const QChar character : text) {
        if (character < u'0' || character > u'9')
            throw Fault();
        number = number * 10 + (character.unicode() - u'0');
    }
    return number;
}

QDateTime parseDate(QStringView text)
{
    static const QTimeZone utc = QTimeZone::utc();
    constexpr QStringView form = u"0000-00-00T00:00:00Z";
    if (text.size() != form.size())
        throw Fault();
    for (const qsizetype position : {4, 7, 10, 13, 16, 19})
        if (text[position] != form[position])
            throw Fault();
    const QDate day(digits(text.sliced(0, 4)), digits(text.sliced(5, 2)), digits(text.sliced(8, 2)));
    const QTime time(digits(text.sliced(11, 2)), digits(text.sliced(14, 2)), digits(text.sliced(17, 2)));
    if (!day.isValid() || !time.isValid())
        throw Fault();
    return {day, time, utc};
}

QUuid parseUuid(const QString &text)
{
    constexpr qsizetype length = 36;
    if (text.size() != length)
        throw Fault();
    for (qsizetype position = 0; position < length; ++position) {
        const bool isHyphen = position == 8 || position == 13 || position == 18 || position == 23;
        const char16_t character = text[position].unicode();
        const bool isHexadecimal = (character >= u'0' && character <= u'9') ||
                                   (character >= u'a' && character <= u'f') ||
                                   (character >= u'A' && character <= u'F');
        if (isHyphen ? character != u'-' : !isHexadecimal)
            throw Fault();
    }
    return QUuid::fromString(text);
}

} // namespace

QByteArray write(const QJsonObject &object)
{
    // A slash can only stand inside a string, so no other byte is touched.
    return QJsonDocument(object).toJson(QJsonDocument::Indented).replace("/", "\\/");
}

QString dateText(const QDateTime &date)
{
    return date.toUTC().toString(u"yyyy-MM-dd'T'HH:mm:ss'Z'");
}

ObjectReader::ObjectReader(const QByteArray &document)
    : m_object(parse(document))
{}

std::optional<QString> ObjectReader::string(QLatin1StringView key) const
{
    const auto found = m_object.constFind(key);
    if (found == m_object.constEnd())
        return std::nullopt;
    if (!found->isString())
        throw Fault();
    return found->toString();
}

std::optional<qint64> ObjectReader::integer(QLatin1StringView key) const
{
    const auto found = m_object.constFind(key);
    if (found == m_object.constEnd())
        return std::nullopt;
    const qint64 integer = found->toInteger(0);
    const bool isInteger = integer != 0 || found->toInteger(1) == 0;
    if (!found->isDouble() || !isInteger)
        throw Fault();
    return integer;
}

std::optional<double> ObjectReader::number(QLatin1StringView key) const
{
    const auto found = m_object.constFind(key);
    if (found == m_object.constEnd())
        return std::nullopt;
    if (!found->isDouble() || !std::isfinite(found->toDouble()))
        throw Fault();
    return found->toDouble();
}

std::optional<QDateTime> ObjectReader::date(QLatin1StringView key) const
{
    const std::optional<QString> text = string(key);
    if (!text)
        return std::nullopt;
    return parseDate(*text);
}

std::optional<QUuid> ObjectReader::uuid(QLatin1StringView key) const
{
    const std::optional<QString> text = string(key);
    if (!text)
        return std::nullopt;
    return parseUuid(*text);
}

} // namespace StrictJson
