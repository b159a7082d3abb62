#include "Platform/LocalizedError.h"

using namespace Qt::StringLiterals;

LocalizedError::LocalizedError(const QString &description)
    : m_description(description)
    , m_utf8(description.toUtf8())
{}

QString localizedDescription(const std::exception &error)
{
    if (const auto *localized = dynamic_cast<const LocalizedError *>(&error))
        return localized->localizedDescription();
    return QString::fromUtf8(error.what());
}

QString currentExceptionDescription()
{
    try {
        throw;
    } catch (const std::exception &error) {
        return localizedDescription(error);
    } catch (...) {
        return u"An unknown error occurred."_s;
    }
}
