#pragma once

#include "Platform/LocalizedError.h"

/// What the host hypervisor layer fails with, apart from PlatformError: the whole sentence to show.
class VZError final : public LocalizedError
{
public:
    using LocalizedError::LocalizedError;
};
