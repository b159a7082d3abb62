#pragma once

#include <QString>

#include <array>
#include <optional>

enum class VMNetworkMode
{
    nat,
    disconnected
};

inline constexpr std::array allVMNetworkModes = {VMNetworkMode::nat, VMNetworkMode::disconnected};

/// The stored form, which is also the name shown to people.
[[nodiscard]] QString rawValue(VMNetworkMode mode);
[[nodiscard]] std::optional<VMNetworkMode> vmNetworkModeFromRawValue(QStringView text);
