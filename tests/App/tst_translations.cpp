#include "App/State/LocalizedName.h"
#include "App/Translations.h"
#include "support/TestMain.h"

#include <QTranslator>

using namespace Qt::StringLiterals;

class TranslationsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void languageOfTheLocaleIsShown();
    void everyNameOfTheModelIsKnown();
};

void TranslationsTest::cleanup()
{
    const QList<QTranslator *> translators = qApp->findChildren<QTranslator *>();
    qDeleteAll(translators);
}

void TranslationsTest::languageOfTheLocaleIsShown()
{
    for (const auto &[locale, isKnown, text] : {std::tuple("is_IS", false, u"Start"_s),
                                                {"en_US", true, u"Start"_s},
                                                {"C", true, u"Start"_s},
                                                {"de_AT", true, u"Starten"_s}}) {
        QCOMPARE(Translations::install(QLocale(QLatin1StringView(locale))), isKnown);
        QCOMPARE(QCoreApplication::translate("VMCardButtons", "Start"), text);
    }
}

/// What is not in the list beside the functions would be shown in English.
void TranslationsTest::everyNameOfTheModelIsKnown()
{
    const QStringList sameInGerman = {u"Downloads"_s, u"Windows 11 ARM64"_s, u"Linux ARM64"_s};
    const auto names = [](const auto &values) {
        QStringList result;
        for (const auto value : values)
            result << localizedName(value);
        return result;
    };
    const auto all = [&] {
        return names(allCases<VMState>) + names(allCases<VMInstallationState>) +
               names(allCases<VMNetworkMode>) + names(allCases<GuestOperatingSystem>) +
               names(allCases<SidebarSection>);
    };
    const QStringList english = all();
    QVERIFY(Translations::install(QLocale(u"de_DE"_s)));
    const QStringList german = all();
    for (qsizetype i = 0; i < english.size(); ++i)
        QVERIFY2(german[i] != english[i] || sameInGerman.contains(english[i]), qPrintable(english[i]));
}

KELVO_GUI_TEST_MAIN(TranslationsTest)
#include "tst_translations.moc"
