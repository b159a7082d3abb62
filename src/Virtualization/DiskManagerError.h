#pragma once

#include "Platform/LocalizedError.h"

class DiskManagerError final : public LocalizedError
{
public:
    enum class Case
    {
        creationFailed,
        attachmentFailed,
        diskNotFound,
        expansionFailed
    };

    explicit DiskManagerError(Case errorCase);

    [[nodiscard]] Case errorCase() const { return m_case; }

private:
    Case m_case;
};
