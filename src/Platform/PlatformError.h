#pragma once

#include "Platform/LocalizedError.h"

/// What the host reported: an errno value with what was attempted and on which path.
class PlatformError final : public LocalizedError
{
public:
    /// `attempt` completes "Could not …", e.g. "open"; `path` may be empty.
    PlatformError(int code, const QString &attempt, const QString &path = {});

    /// The errno value (errno(3)).
    [[nodiscard]] int code() const { return m_code; }

private:
    int m_code;
};
