#include "Platform/Emulator/QMPError.h"

using namespace Qt::StringLiterals;

namespace {

QString textOf(QMPError::Case errorCase, const QString &description)
{
    switch (errorCase) {
    case QMPError::Case::unreachable:
        return u"The emulator cannot be reached."_s;
    case QMPError::Case::silent:
        return u"The emulator does not answer."_s;
    case QMPError::Case::ended:
        return u"The emulator ended."_s;
    case QMPError::Case::refused:
        return description.isEmpty() ? u"The emulator refused the command."_s : description;
    }
    Q_UNREACHABLE();
}

} // namespace

QMPError::QMPError(Case errorCase, const QString &description)
    : LocalizedError(textOf(errorCase, description))
    , m_case(errorCase)
{}
