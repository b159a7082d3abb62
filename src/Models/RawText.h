#pragma once

#include <QLatin1StringView>
#include <QString>

#include <array>
#include <optional>

/// One case of a stored enumeration with its raw text: the form in files and, for most, on the screen.
template<typename Enumeration>
struct RawText
{
    Enumeration value;
    QLatin1StringView text;
};

template<typename Enumeration, std::size_t count>
[[nodiscard]] QString rawTextOf(const std::array<RawText<Enumeration>, count> &table, Enumeration value)
{
    for (const auto &row : table)
        if (row.value == value)
            return row.text;
    Q_UNREACHABLE();
}

template<typename Enumeration, std::size_t count>
[[nodiscard]] std::optional<Enumeration> fromRawText(const std::array<RawText<Enumeration>, count> &table,
                                                     QStringView text)
{
    for (const auto &row : table)
        if (row.text == text)
            return row.value;
    return std::nullopt;
}
