#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <array>
#include <optional>

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
