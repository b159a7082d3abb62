#include "Models/VMStorageError.h"

#include "Platform/FileUrl.h"

using namespace Qt::StringLiterals;

VMStorageError::VMStorageError(Case errorCase, const QString &text)
    : LocalizedError(text)
    , m_case(errorCase)
{}

VMStorageError VMStorageError::directoryCreationFailed(const QUrl &folder)
{
    return {Case::directoryCreationFailed,
            u"Could not create virtual machine directory at "_s + FileUrl::path(folder) + u'.'};
}

VMStorageError VMStorageError::vmNotFound()
{
    return {Case::vmNotFound, u"Virtual machine could not be found."_s};
}

VMStorageError VMStorageError::invalidBundle(const QUrl &bundle)
{
    return {Case::invalidBundle, u"Invalid virtual machine bundle at "_s + FileUrl::path(bundle) + u'.'};
}

VMStorageError VMStorageError::encodingFailed()
{
    return {Case::encodingFailed, u"Could not save virtual machine configuration."_s};
}

VMStorageError VMStorageError::decodingFailed()
{
    return {Case::decodingFailed, u"Could not read virtual machine configuration."_s};
}
