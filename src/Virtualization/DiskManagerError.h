#pragma once

#include "Platform/LocalizedError.h"

/// What a machine's disk fails with, apart from PlatformError.
class DiskManagerError final : public LocalizedError
{
public:
    [[nodiscard]] static DiskManagerError creationFailed()
    {
        return {QStringLiteral("Virtual disk could not be created.")};
    }
    [[nodiscard]] static DiskManagerError attachmentFailed()
    {
        return {QStringLiteral("Virtual disk could not be attached.")};
    }
    [[nodiscard]] static DiskManagerError diskNotFound()
    {
        return {QStringLiteral("Virtual disk was not found.")};
    }
    [[nodiscard]] static DiskManagerError expansionFailed()
    {
        return {QStringLiteral("Virtual disk could not be expanded.")};
    }

private:
    using LocalizedError::LocalizedError;
};
