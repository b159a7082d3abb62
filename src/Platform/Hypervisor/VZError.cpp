#include "Platform/Hypervisor/VZError.h"

VZError::VZError(Case errorCase, const QString &description)
    : LocalizedError(description)
    , m_case(errorCase)
{}
