#pragma once

#include "Models/StoredEnumeration.h"

enum class VMNetworkMode
{
    nat,
    disconnected
};

template<>
inline constexpr auto rawTexts<VMNetworkMode> = std::to_array<CaseText<VMNetworkMode>>({
    {VMNetworkMode::nat, "Shared (NAT)"},
    {VMNetworkMode::disconnected, "Disconnected"},
});
