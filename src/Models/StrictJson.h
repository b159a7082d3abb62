#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QUuid>

#include <exception>
#include <optional>

/// Typed reading of one JSON object: a key is absent or of the right type, everything else is a fault.
namespace StrictJson {

/// Some value was missing or not what it must be.
struct Fault final : std::exception
{};

/// The object that a whole document holds. Throws Fault for other documents, broken JSON and invalid UTF-8.
[[nodiscard]] QJsonObject parseObject(const QByteArray &document);
/// Indented, keys sorted, slashes inside strings escaped (RFC 8259, section 7, allows both forms).
[[nodiscard]] QByteArray write(const QJsonObject &object);

[[nodiscard]] std::optional<QString> optionalString(const QJsonObject &object, QLatin1StringView key);
/// A whole number from −2^63 to 2^63 − 1.
[[nodiscard]] std::optional<qint64> optionalInteger(const QJsonObject &object, QLatin1StringView key);
[[nodiscard]] std::optional<double> optionalDouble(const QJsonObject &object, QLatin1StringView key);
/// "2025-03-01T10:15:00Z" and nothing else: UTC, whole seconds.
[[nodiscard]] std::optional<QDateTime> optionalDate(const QJsonObject &object, QLatin1StringView key);
[[nodiscard]] QString dateText(const QDateTime &date);
/// 36 characters with hyphens, upper or lower case.
[[nodiscard]] QUuid uuid(const QString &text);

/// The value of an optional that must be there.
template<typename Value>
[[nodiscard]] Value required(std::optional<Value> value)
{
    if (!value)
        throw Fault();
    return *std::move(value);
}

/// An enumeration's case by its raw text; an unknown text is a fault.
template<typename Enumeration>
[[nodiscard]] std::optional<Enumeration> optionalCase(const QJsonObject &object, QLatin1StringView key,
                                                      std::optional<Enumeration> (*fromText)(QStringView))
{
    const std::optional<QString> text = optionalString(object, key);
    if (!text)
        return std::nullopt;
    return required(fromText(*text));
}

} // namespace StrictJson
