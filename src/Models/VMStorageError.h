#pragma once

#include "Platform/FileUrl.h"
#include "Platform/LocalizedError.h"

/// What the library of bundles fails with, apart from PlatformError.
class VMStorageError final : public LocalizedError
{
public:
    [[nodiscard]] static VMStorageError directoryCreationFailed(const QUrl &folder)
    {
        return {
            QStringLiteral("Could not create virtual machine directory at %1.").arg(FileUrl::path(folder))};
    }
    [[nodiscard]] static VMStorageError vmNotFound()
    {
        return {QStringLiteral("Virtual machine could not be found.")};
    }
    [[nodiscard]] static VMStorageError invalidBundle(const QUrl &bundle)
    {
        return {QStringLiteral("Invalid virtual machine bundle at %1.").arg(FileUrl::path(bundle))};
    }
    [[nodiscard]] static VMStorageError encodingFailed()
    {
        return {QStringLiteral("Could not save virtual machine configuration.")};
    }
    [[nodiscard]] static VMStorageError decodingFailed()
    {
        return {QStringLiteral("Could not read virtual machine configuration.")};
    }

private:
    using LocalizedError::LocalizedError;
};
