#include "App/Translations.h"

#include <QCoreApplication>
#include <QTranslator>

#include <memory>

using namespace Qt::StringLiterals;

bool Translations::install(const QLocale &locale)
{
    // The first of the languages that is known wins, and English needs no catalogue.
    const QStringList languages = locale.uiLanguages();
    for (const QString &language : languages) {
        const QLocale candidate(language);
        if (candidate.language() == QLocale::English || candidate.language() == QLocale::C)
            return true;
        auto translator = std::make_unique<QTranslator>();
        if (translator->load(candidate, u"kelvo"_s, u"_"_s, u":/translations"_s)) {
            translator->setParent(qApp);
            return QCoreApplication::installTranslator(translator.release());
        }
    }
    return false;
}
