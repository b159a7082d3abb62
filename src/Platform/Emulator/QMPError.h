#pragma once

#include "Platform/LocalizedError.h"

/// Why a command of the QEMU Machine Protocol was not carried out.
class QMPError final : public LocalizedError
{
public:
    enum class Case
    {
        unreachable, ///< nobody listens
        silent,      ///< no answer in time
        ended,       ///< the conversation ended before the answer
        refused      ///< with the emulator's own description
    };

    explicit QMPError(Case errorCase, const QString &description = {});

    [[nodiscard]] Case errorCase() const { return m_case; }

private:
    Case m_case;
};
