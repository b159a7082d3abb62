#include "App/State/SidebarSection.h"

#include "Models/RawText.h"

using namespace Qt::StringLiterals;

namespace {

constexpr std::array<RawText<SidebarSection>, 4> rawTexts = {{
    {SidebarSection::virtualMachines, "Virtual Machines"_L1},
    {SidebarSection::running, "Running"_L1},
    {SidebarSection::downloads, "Downloads"_L1},
    {SidebarSection::settings, "Settings"_L1},
}};

constexpr std::array<RawText<SidebarSection>, 4> symbols = {{
    {SidebarSection::virtualMachines, "desktopcomputer"_L1},
    {SidebarSection::running, "play.circle"_L1},
    {SidebarSection::downloads, "arrow.down.circle"_L1},
    {SidebarSection::settings, "gearshape"_L1},
}};

} // namespace

QString rawValue(SidebarSection section)
{
    return rawTextOf(rawTexts, section);
}

std::optional<SidebarSection> sidebarSectionFromRawValue(QStringView text)
{
    return fromRawText(rawTexts, text);
}

QString symbol(SidebarSection section)
{
    return rawTextOf(symbols, section);
}
