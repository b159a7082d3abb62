#include "Models/VMNetworkMode.h"

#include "Models/RawText.h"

using namespace Qt::StringLiterals;

static constexpr std::array<RawText<VMNetworkMode>, 2> networkModes = {{
    {VMNetworkMode::nat, "Shared (NAT)"_L1},
    {VMNetworkMode::disconnected, "Disconnected"_L1},
}};

QString rawValue(VMNetworkMode mode)
{
    return rawTextOf(networkModes, mode);
}

std::optional<VMNetworkMode> vmNetworkModeFromRawValue(QStringView text)
{
    return fromRawText(networkModes, text);
}
