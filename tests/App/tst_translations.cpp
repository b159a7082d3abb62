#include "App/LocalizedName.h"
#include "App/Translations.h"
#include "support/TestMain.h"

#include <QTranslator>

using namespace Qt::StringLiterals;

class TranslationsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void languageOfTheLocaleIsShown_data();
    void languageOfTheLocaleIsShown();
    void everyNameOfTheModelIsKnown();
};

void TranslationsTest::cleanup()
{
    const QList<QTranslator *> translators = qApp->findChildren<QTranslator *>();
    qDeleteAll(translators);
}

void TranslationsTest::languageOfTheLocaleIsShown_data()
{
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<bool>("isKnown");
    QTest::addColumn<QString>("text");
    QTest::newRow("English") << QLocale(u"en_US"_s) << true << u"Start"_s;
    QTest::newRow("none") << QLocale::c() << true << u"Start"_s;
    QTest::newRow("German") << QLocale(u"de_DE"_s) << true << u"Starten"_s;
    QTest::newRow("German of Austria") << QLocale(u"de_AT"_s) << true << u"Starten"_s;
    QTest::newRow("without a catalogue") << QLocale(u"is_IS"_s) << false << u"Start"_s;
}

void TranslationsTest::languageOfTheLocaleIsShown()
{
    QFETCH(const QLocale, locale);
    QTEST(Translations::install(locale), "isKnown");
    QTEST(QCoreApplication::translate("VMCardButtons", "Start"), "text");
}

/// What is not in the list beside the functions would be shown in English.
void TranslationsTest::everyNameOfTheModelIsKnown()
{
    const QStringList sameInGerman = {u"Downloads"_s, u"Windows 11 ARM64"_s, u"Linux ARM64"_s};
    const std::array installationStates = {VMInstallationState::notStarted, VMInstallationState::ready,
                                           VMInstallationState::inProgress, VMInstallationState::completed};
    const auto names = [](const auto &values) {
        QStringList result;
        for (const auto value : values)
            result << localizedName(value);
        return result;
    };
    const auto all = [&] {
        return names(allVMStates) + names(installationStates) + names(allVMNetworkModes) +
               names(allGuestOperatingSystems) + names(allSidebarSections);
    };
    const QStringList english = all();
    QVERIFY(Translations::install(QLocale(u"de_DE"_s)));
    const QStringList german = all();
    for (qsizetype i = 0; i < english.size(); ++i)
        QVERIFY2(german[i] != english[i] || sameInGerman.contains(english[i]), qPrintable(english[i]));
}

KELVO_GUI_TEST_MAIN(TranslationsTest)
#include "tst_translations.moc"
