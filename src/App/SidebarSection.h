#pragma once

#include <QObject>
#include <QString>

#include <array>
#include <optional>

/// The sidebar's rows, in their order.
class SidebarSectionEnum
{
    Q_GADGET

public:
    enum class SidebarSection
    {
        virtualMachines,
        running,
        downloads,
        settings
    };
    Q_ENUM(SidebarSection)
};
using SidebarSection = SidebarSectionEnum::SidebarSection;

inline constexpr std::array allSidebarSections = {
    SidebarSection::virtualMachines,
    SidebarSection::running,
    SidebarSection::downloads,
    SidebarSection::settings,
};

/// The title, which is also the section's identity.
[[nodiscard]] QString rawValue(SidebarSection section);
[[nodiscard]] std::optional<SidebarSection> sidebarSectionFromRawValue(QStringView text);
/// A name of the symbol catalogue.
[[nodiscard]] QString symbol(SidebarSection section);
