#pragma once

#include <QString>

#include <optional>

/// How far a guest's installation has come.
enum class VMInstallationState
{
    notStarted,
    ready,
    inProgress,
    completed
};

/// The stored form.
[[nodiscard]] QString rawValue(VMInstallationState state);
[[nodiscard]] std::optional<VMInstallationState> vmInstallationStateFromRawValue(QStringView text);
[[nodiscard]] QString displayName(VMInstallationState state);
/// Every state but `completed`, which is final.
[[nodiscard]] bool canBeginInstallation(VMInstallationState state);
