#pragma once

#include "Models/StoredEnumeration.h"

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

/// Indented, keys sorted, slashes inside strings escaped (RFC 8259, section 7, allows both forms).
[[nodiscard]] QByteArray write(const QJsonObject &object);
/// "2025-03-01T10:15:00Z".
[[nodiscard]] QString dateText(const QDateTime &date);

/// Reads the object that a whole document holds. An absent key has no value, anything of another type is a
/// Fault; unknown keys are passed over.
class ObjectReader
{
public:
    /// Throws Fault for other documents, broken JSON and invalid UTF-8.
    explicit ObjectReader(const QByteArray &document);

    [[nodiscard]] std::optional<QString> string(QLatin1StringView key) const;
    /// A whole number from −2^63 to 2^63 − 1.
    [[nodiscard]] std::optional<qint64> integer(QLatin1StringView key) const;
    [[nodiscard]] std::optional<double> number(QLatin1StringView key) const;
    /// UTC with whole seconds as dateText() writes it, and nothing else.
    [[nodiscard]] std::optional<QDateTime> date(QLatin1StringView key) const;
    /// 36 characters with hyphens, upper or lower case.
    [[nodiscard]] std::optional<QUuid> uuid(QLatin1StringView key) const;
    /// An enumeration's case by its raw text; an unknown text is a Fault.
    template<StoredEnumeration Enumeration>
    [[nodiscard]] std::optional<Enumeration> enumeration(QLatin1StringView key) const
    {
        const std::optional<QString> text = string(key);
        if (!text)
            return std::nullopt;
        const std::optional<Enumeration> value = fromRawValue<Enumeration>(*text);
        if (!value)
            throw Fault();
        return value;
    }

private:
    QJsonObject m_object;
};

/// The value of an optional that must be there.
template<typename Value>
[[nodiscard]] Value required(std::optional<Value> value)
{
    if (!value)
        throw Fault();
    return *std::move(value);
}

} // namespace StrictJson
