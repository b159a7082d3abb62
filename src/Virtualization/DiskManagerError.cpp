#include "Virtualization/DiskManagerError.h"

using namespace Qt::StringLiterals;

static QString describe(DiskManagerError::Case errorCase)
{
    switch (errorCase) {
    case DiskManagerError::Case::creationFailed:
        return u"Virtual disk could not be created."_s;
    case DiskManagerError::Case::attachmentFailed:
        return u"Virtual disk could not be attached."_s;
    case DiskManagerError::Case::diskNotFound:
        return u"Virtual disk was not found."_s;
    case DiskManagerError::Case::expansionFailed:
        return u"Virtual disk could not be expanded."_s;
    }
    Q_UNREACHABLE();
}

DiskManagerError::DiskManagerError(Case errorCase)
    : LocalizedError(describe(errorCase))
    , m_case(errorCase)
{}
