#pragma once

#include "Platform/LocalizedError.h"

#include <QUrl>

class VMStorageError final : public LocalizedError
{
public:
    enum class Case
    {
        directoryCreationFailed,
        vmNotFound,
        invalidBundle,
        encodingFailed,
        decodingFailed
    };

    [[nodiscard]] static VMStorageError directoryCreationFailed(const QUrl &folder);
    [[nodiscard]] static VMStorageError vmNotFound();
    [[nodiscard]] static VMStorageError invalidBundle(const QUrl &bundle);
    [[nodiscard]] static VMStorageError encodingFailed();
    [[nodiscard]] static VMStorageError decodingFailed();

    [[nodiscard]] Case errorCase() const { return m_case; }

private:
    VMStorageError(Case errorCase, const QString &text);

    Case m_case;
};
