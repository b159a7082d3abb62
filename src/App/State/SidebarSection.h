#pragma once

#include "Models/StoredEnumeration.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

/// The sidebar's rows, in their order.
namespace SidebarSectionEnum {
Q_NAMESPACE
QML_NAMED_ELEMENT(SidebarSection)

enum class SidebarSection
{
    virtualMachines,
    running,
    downloads,
    settings
};
Q_ENUM_NS(SidebarSection)

} // namespace SidebarSectionEnum
using SidebarSection = SidebarSectionEnum::SidebarSection;

// The titles are also the sections' identities.
template<>
inline constexpr auto rawTexts<SidebarSection> = std::to_array<CaseText<SidebarSection>>({
    {SidebarSection::virtualMachines, "Virtual Machines"},
    {SidebarSection::running, "Running"},
    {SidebarSection::downloads, "Downloads"},
    {SidebarSection::settings, "Settings"},
});

/// A name of the symbol catalogue.
[[nodiscard]] inline QString symbol(SidebarSection section)
{
    static constexpr auto symbols = std::to_array<CaseText<SidebarSection>>({
        {SidebarSection::virtualMachines, "desktopcomputer"},
        {SidebarSection::running, "play.circle"},
        {SidebarSection::downloads, "arrow.down.circle"},
        {SidebarSection::settings, "gearshape"},
    });
    return textOf(section, symbols);
}
