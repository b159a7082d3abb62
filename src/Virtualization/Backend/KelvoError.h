#pragma once

#include "Platform/LocalizedError.h"

/// What the manager, its services and both backends fail with.
class KelvoError final : public LocalizedError
{
public:
    [[nodiscard]] static KelvoError configurationInvalid(const QString &text)
    {
        return {QStringLiteral("Virtual machine configuration is invalid. ") + text};
    }
    /// `components`: the missing ones' names, joined by ", ".
    [[nodiscard]] static KelvoError qemuDependenciesMissing(const QString &components)
    {
        return {QStringLiteral("QEMU dependencies are missing: ") + components +
                QStringLiteral(". Install them with Homebrew: brew install qemu swtpm")};
    }
    [[nodiscard]] static KelvoError internalError(const QString &text) { return {text}; }
    [[nodiscard]] static KelvoError virtualizationUnavailable()
    {
        return {QStringLiteral("Virtualization is unavailable on this Mac.")};
    }
    [[nodiscard]] static KelvoError diskCreationFailed()
    {
        return {QStringLiteral("Virtual disk could not be created.")};
    }
    [[nodiscard]] static KelvoError diskExpansionFailed()
    {
        return {QStringLiteral("Virtual disk could not be expanded.")};
    }
    [[nodiscard]] static KelvoError installationMediaUnavailable()
    {
        return {QStringLiteral("Installation media could not be opened.")};
    }
    [[nodiscard]] static KelvoError operationInProgress()
    {
        return {QStringLiteral("Another virtualization operation is already in progress.")};
    }
    [[nodiscard]] static KelvoError insufficientMemory()
    {
        return {QStringLiteral("Not enough memory available.")};
    }

private:
    using LocalizedError::LocalizedError;
};
