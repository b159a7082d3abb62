#pragma once

#include "Platform/LocalizedError.h"

/// What the host hypervisor layer fails with, apart from PlatformError.
class VZError final : public LocalizedError
{
public:
    enum class Case
    {
        internalError,                      ///< the emulator ended, refused or did not answer
        invalidVirtualMachineConfiguration, ///< what validate() refuses
        invalidVirtualMachineState,         ///< the operation does not fit what the machine does now
        invalidDiskImage,
        virtualMachineAlreadyRunning, ///< also when another process of ours started it
    };

    /// `description` is the whole sentence to show.
    VZError(Case errorCase, const QString &description);

    [[nodiscard]] Case errorCase() const { return m_case; }

private:
    Case m_case;
};
