#include "Virtualization/Backend/KelvoError.h"

using namespace Qt::StringLiterals;

KelvoError::KelvoError(Case errorCase, const QString &description, const QString &text)
    : LocalizedError(description)
    , m_case(errorCase)
    , m_text(text)
{}

KelvoError KelvoError::configurationInvalid(const QString &text)
{
    return {Case::configurationInvalid, u"Virtual machine configuration is invalid. "_s + text, text};
}

KelvoError KelvoError::qemuDependenciesMissing(const QString &components)
{
    const QString description = u"QEMU dependencies are missing: "_s + components +
                                u". Install them with Homebrew: brew install qemu swtpm"_s;
    return {Case::qemuDependenciesMissing, description, components};
}

KelvoError KelvoError::internalError(const QString &text)
{
    return {Case::internalError, text, text};
}

KelvoError KelvoError::virtualizationUnavailable()
{
    return {Case::virtualizationUnavailable, u"Virtualization is unavailable on this Mac."_s};
}

KelvoError KelvoError::diskCreationFailed()
{
    return {Case::diskCreationFailed, u"Virtual disk could not be created."_s};
}

KelvoError KelvoError::diskExpansionFailed()
{
    return {Case::diskExpansionFailed, u"Virtual disk could not be expanded."_s};
}

KelvoError KelvoError::installationMediaUnavailable()
{
    return {Case::installationMediaUnavailable, u"Installation media could not be opened."_s};
}

KelvoError KelvoError::operationInProgress()
{
    return {Case::operationInProgress, u"Another virtualization operation is already in progress."_s};
}

KelvoError KelvoError::insufficientMemory()
{
    return {Case::insufficientMemory, u"Not enough memory available."_s};
}
