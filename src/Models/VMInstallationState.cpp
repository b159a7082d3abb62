#include "Models/VMInstallationState.h"

#include "Models/RawText.h"

using namespace Qt::StringLiterals;

static constexpr std::array<RawText<VMInstallationState>, 4> installationTexts = {{
    {VMInstallationState::notStarted, "notStarted"_L1},
    {VMInstallationState::ready, "ready"_L1},
    {VMInstallationState::inProgress, "inProgress"_L1},
    {VMInstallationState::completed, "completed"_L1},
}};

static constexpr std::array<RawText<VMInstallationState>, 4> installationNames = {{
    {VMInstallationState::notStarted, "Not Started"_L1},
    {VMInstallationState::ready, "Ready to Install"_L1},
    {VMInstallationState::inProgress, "Installing"_L1},
    {VMInstallationState::completed, "Installed"_L1},
}};

QString rawValue(VMInstallationState state)
{
    return rawTextOf(installationTexts, state);
}

std::optional<VMInstallationState> vmInstallationStateFromRawValue(QStringView text)
{
    return fromRawText(installationTexts, text);
}

QString displayName(VMInstallationState state)
{
    return rawTextOf(installationNames, state);
}

bool canBeginInstallation(VMInstallationState state)
{
    return state != VMInstallationState::completed;
}
