#pragma once

#include <QObject>

/// What the main window shows beside its sidebar.
namespace DetailContentEnum {
Q_NAMESPACE

enum class DetailContent
{
    MachineList,
    Downloads,
    MachineSettings,
    ApplicationSettings
};
Q_ENUM_NS(DetailContent)

} // namespace DetailContentEnum
using DetailContent = DetailContentEnum::DetailContent;
