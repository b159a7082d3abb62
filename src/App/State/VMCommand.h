#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

/// What a person can ask of a machine from a menu, a card or its console.
namespace VMCommandEnum {
Q_NAMESPACE
QML_NAMED_ELEMENT(VMCommand)

enum class VMCommand
{
    Install,
    Start,
    ShutDown,  ///< asks the guest
    Stop,      ///< asks the person first where something may be lost
    ForceStop, ///< asks nobody
    Pause,
    Resume
};
Q_ENUM_NS(VMCommand)

} // namespace VMCommandEnum
using VMCommand = VMCommandEnum::VMCommand;
