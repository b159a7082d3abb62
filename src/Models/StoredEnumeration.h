#pragma once

#include <QString>

#include <array>
#include <cstddef>
#include <optional>

/// One case of an enumeration with a text of its own.
template<typename Enumeration>
struct CaseText
{
    Enumeration value;
    const char *text;
};

/// All cases of a stored enumeration, in their order, with their raw texts: the form in files. Stands beside
/// the enumeration.
template<typename Enumeration>
inline constexpr std::array<CaseText<Enumeration>, 0> rawTexts = {};

/// What people read; beside an enumeration whose raw texts are not for them.
template<typename Enumeration>
inline constexpr auto displayNames = rawTexts<Enumeration>;

template<typename Enumeration>
concept StoredEnumeration = !rawTexts<Enumeration>.empty();

template<StoredEnumeration Enumeration>
inline constexpr auto allCases = [] {
    std::array<Enumeration, rawTexts<Enumeration>.size()> cases{};
    for (std::size_t i = 0; i < cases.size(); ++i)
        cases[i] = rawTexts<Enumeration>[i].value;
    return cases;
}();

template<typename Enumeration, std::size_t count>
[[nodiscard]] QString textOf(Enumeration value, const std::array<CaseText<Enumeration>, count> &texts)
{
    for (const auto &row : texts)
        if (row.value == value)
            return QLatin1StringView(row.text);
    Q_UNREACHABLE();
}

template<StoredEnumeration Enumeration>
[[nodiscard]] QString rawValue(Enumeration value)
{
    return textOf(value, rawTexts<Enumeration>);
}

template<StoredEnumeration Enumeration>
[[nodiscard]] QString displayName(Enumeration value)
{
    return textOf(value, displayNames<Enumeration>);
}

template<StoredEnumeration Enumeration>
[[nodiscard]] std::optional<Enumeration> fromRawValue(QStringView text)
{
    for (const auto &row : rawTexts<Enumeration>)
        if (QLatin1StringView(row.text) == text)
            return row.value;
    return std::nullopt;
}
