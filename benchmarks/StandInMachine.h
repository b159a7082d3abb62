#pragma once

#include "Platform/Hypervisor/VZVirtualMachine.h"
#include "StandInDisplay.h"

/// A running machine without an emulator, whose screen is the stand-in's.
class StandInMachine final : public VZVirtualMachine
{
public:
    explicit StandInMachine(StandInDisplay &display)
        : VZVirtualMachine(VZVirtualMachineConfiguration())
        , m_display(display)
    {}

    [[nodiscard]] State state() const override { return State::running; }
    [[nodiscard]] UniqueDescriptor openDisplay() override { return m_display.takeClientEnd(); }

private:
    StandInDisplay &m_display;
};
