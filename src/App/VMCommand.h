#pragma once

#include <QObject>

/// What a person can ask of a machine from a menu, a card or its console.
class VMCommandEnum
{
    Q_GADGET

public:
    enum class VMCommand
    {
        install,
        start,
        stop,
        pause,
        resume
    };
    Q_ENUM(VMCommand)
};
using VMCommand = VMCommandEnum::VMCommand;
