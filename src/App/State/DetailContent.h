#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

/// What the main window shows beside its sidebar.
namespace DetailContentEnum {
Q_NAMESPACE
QML_NAMED_ELEMENT(DetailContent)

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
