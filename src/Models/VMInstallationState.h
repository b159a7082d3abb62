#pragma once

#include "Models/StoredEnumeration.h"

/// How far a guest's installation has come.
enum class VMInstallationState
{
    notStarted,
    ready,
    inProgress,
    completed
};

template<>
inline constexpr auto rawTexts<VMInstallationState> = std::to_array<CaseText<VMInstallationState>>({
    {VMInstallationState::notStarted, "notStarted"},
    {VMInstallationState::ready, "ready"},
    {VMInstallationState::inProgress, "inProgress"},
    {VMInstallationState::completed, "completed"},
});

template<>
inline constexpr auto displayNames<VMInstallationState> = std::to_array<CaseText<VMInstallationState>>({
    {VMInstallationState::notStarted, "Not Started"},
    {VMInstallationState::ready, "Ready to Install"},
    {VMInstallationState::inProgress, "Installing"},
    {VMInstallationState::completed, "Installed"},
});

/// Every state but `completed`, which is final.
[[nodiscard]] constexpr bool canBeginInstallation(VMInstallationState state)
{
    return state != VMInstallationState::completed;
}
