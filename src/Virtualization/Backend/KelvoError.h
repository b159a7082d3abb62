#pragma once

#include "Platform/LocalizedError.h"

/// What the manager, its services and both backends fail with.
class KelvoError final : public LocalizedError
{
public:
    enum class Case
    {
        configurationInvalid,
        qemuDependenciesMissing,
        internalError,
        virtualizationUnavailable,
        diskCreationFailed,
        diskExpansionFailed,
        installationMediaUnavailable,
        operationInProgress,
        insufficientMemory,
    };

    [[nodiscard]] static KelvoError configurationInvalid(const QString &text);
    /// `components`: the missing ones' names, joined by ", ".
    [[nodiscard]] static KelvoError qemuDependenciesMissing(const QString &components);
    [[nodiscard]] static KelvoError internalError(const QString &text);
    [[nodiscard]] static KelvoError virtualizationUnavailable();
    [[nodiscard]] static KelvoError diskCreationFailed();
    [[nodiscard]] static KelvoError diskExpansionFailed();
    [[nodiscard]] static KelvoError installationMediaUnavailable();
    [[nodiscard]] static KelvoError operationInProgress();
    [[nodiscard]] static KelvoError insufficientMemory();

    [[nodiscard]] Case errorCase() const { return m_case; }
    /// What was handed in; empty for the cases without a text.
    [[nodiscard]] const QString &text() const { return m_text; }

private:
    KelvoError(Case errorCase, const QString &description, const QString &text = {});

    Case m_case;
    QString m_text;
};
