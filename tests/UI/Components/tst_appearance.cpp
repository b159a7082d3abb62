#include "UI/Components/AdaptiveGrid.h"
#include "UI/Components/Appearance.h"
#include "UI/Components/AppearancePortal.h"
#include "UI/Components/MnemonicText.h"
#include "UI/Components/SymbolCatalogue.h"
#include "UI/Components/SymbolItem.h"
#include "support/TestMain.h"

#include <QDBusVariant>
#include <QPalette>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QtQml/qqmlextensionplugin.h>

#include <cmath>

Q_IMPORT_QML_PLUGIN(Kelvo_ComponentsPlugin)

using namespace Qt::StringLiterals;

namespace {

double channelLuminance(double value)
{
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

/// WCAG 2.1, "relative luminance" and "contrast ratio".
double contrast(const QColor &first, const QColor &second)
{
    const auto luminance = [](const QColor &color) {
        return 0.2126 * channelLuminance(color.redF()) + 0.7152 * channelLuminance(color.greenF()) +
               0.0722 * channelLuminance(color.blueF());
    };
    const double one = luminance(first);
    const double other = luminance(second);
    return (std::max(one, other) + 0.05) / (std::min(one, other) + 0.05);
}

QColor over(const QColor &background, const QColor &color, double alpha)
{
    const auto mix = [alpha](double below, double above) {
        return below + (above - below) * alpha;
    };
    return QColor::fromRgbF(float(mix(background.redF(), color.redF())),
                            float(mix(background.greenF(), color.greenF())),
                            float(mix(background.blueF(), color.blueF())));
}

} // namespace

class AppearanceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void schemeComesFromOverridePortalThenPalette();
    void portalValuesAreUnderstood_data();
    void portalValuesAreUnderstood();
    void nothingMovesWhileAnySettingSaysSo();
    void textsAreReadable_data();
    void textsAreReadable();
    void everySymbolIsDrawnInItsColor();
    void gridFitsItsColumns_data();
    void gridFitsItsColumns();
    void mnemonicsAreMarked_data();
    void mnemonicsAreMarked();
};

void AppearanceTest::schemeComesFromOverridePortalThenPalette()
{
    Appearance &appearance = Appearance::shared();
    const QSignalSpy spy(&appearance, &Appearance::darkChanged);
    QVERIFY(!appearance.isDark());
    QPalette dark;
    dark.setColor(QPalette::Window, Qt::black);
    dark.setColor(QPalette::WindowText, Qt::white);
    QGuiApplication::setPalette(dark);
    QTRY_VERIFY(appearance.isDark());
    appearance.setPortalPreference(Appearance::PortalPreference::light);
    QVERIFY(!appearance.isDark());
    appearance.setOverride(ColorScheme::dark);
    appearance.setPortalPreference(Appearance::PortalPreference::light);
    QVERIFY(appearance.isDark());
    appearance.setOverride(ColorScheme::system);
    QVERIFY(!appearance.isDark());
    appearance.setPortalPreference(Appearance::PortalPreference::none);
    QVERIFY(appearance.isDark());
    QCOMPARE(spy.count(), 5);
    QVERIFY2(appearance.isHighContrast(), "white on black");
    QGuiApplication::setPalette(QPalette());
}

void AppearanceTest::portalValuesAreUnderstood_data()
{
    QTest::addColumn<QString>("nameSpace");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("expected");
    const auto wrapped = [](const QVariant &value) {
        return QVariant::fromValue(QDBusVariant(value));
    };
    const QString common = u"org.freedesktop.appearance"_s;
    const QString gnome = u"org.gnome.desktop.interface"_s;
    const QString kde = u"org.kde.kdeglobals.KDE"_s;
    const QString scheme = u"color-scheme"_s;
    QTest::newRow("dark") << common << scheme << QVariant(1U) << u"dark"_s;
    QTest::newRow("dark in two variants") << common << scheme << wrapped(wrapped(1U)) << u"dark"_s;
    QTest::newRow("no preference") << common << scheme << wrapped(0U) << QString();
    QTest::newRow("unknown number") << common << scheme << QVariant(7U) << QString();
    QTest::newRow("signed") << common << scheme << QVariant(1) << QString();
    QTest::newRow("text") << common << scheme << wrapped(u"1"_s) << QString();
    QTest::newRow("nothing") << common << scheme << QVariant() << QString();
    QTest::newRow("contrast") << common << u"contrast"_s << wrapped(1U) << u"contrast"_s;
    QTest::newRow("reduced motion") << common << u"reduced-motion"_s << wrapped(1U) << u"still"_s;
    QTest::newRow("GNOME, animated") << gnome << u"enable-animations"_s << wrapped(true) << QString();
    QTest::newRow("GNOME, still") << gnome << u"enable-animations"_s << wrapped(false) << u"still"_s;
    QTest::newRow("KDE, still") << kde << u"AnimationDurationFactor"_s << wrapped(u"0"_s) << u"still"_s;
    QTest::newRow("KDE, no number") << kde << u"AnimationDurationFactor"_s << wrapped(u"x"_s) << QString();
    QTest::newRow("of another") << u"org.example"_s << scheme << QVariant(1U) << QString();
}

void AppearanceTest::portalValuesAreUnderstood()
{
    QFETCH(const QString, nameSpace);
    QFETCH(const QString, key);
    QFETCH(const QVariant, value);
    Appearance &appearance = Appearance::shared();
    const auto reset = qScopeGuard([&appearance] {
        appearance.setPortalPreference(Appearance::PortalPreference::none);
        appearance.setPortalContrast(false);
        appearance.setAnimated(true);
    });
    AppearancePortal(appearance).take(nameSpace, key, value);
    QStringList found;
    if (appearance.isDark())
        found << u"dark"_s;
    if (appearance.isHighContrast())
        found << u"contrast"_s;
    if (!appearance.isAnimated())
        found << u"still"_s;
    QTEST(found.join(u' '), "expected");
}

void AppearanceTest::nothingMovesWhileAnySettingSaysSo()
{
    Appearance &appearance = Appearance::shared();
    AppearancePortal portal(appearance);
    portal.take(u"org.freedesktop.appearance"_s, u"reduced-motion"_s, 1U);
    portal.take(u"org.gnome.desktop.interface"_s, u"enable-animations"_s, true);
    QVERIFY(!appearance.isAnimated());
    portal.take(u"org.freedesktop.appearance"_s, u"reduced-motion"_s, 0U);
    QVERIFY(appearance.isAnimated());
}

void AppearanceTest::textsAreReadable_data()
{
    QTest::addColumn<ColorScheme>("scheme");
    QTest::addColumn<bool>("highContrast");
    QTest::addColumn<double>("leastForText"); // WCAG 2.1: 4.5 for level AA, 7 for AAA
    QTest::newRow("light") << ColorScheme::light << false << 4.5;
    QTest::newRow("dark") << ColorScheme::dark << false << 4.5;
    QTest::newRow("light, high contrast") << ColorScheme::light << true << 7.0;
    QTest::newRow("dark, high contrast") << ColorScheme::dark << true << 7.0;
}

void AppearanceTest::textsAreReadable()
{
    QFETCH(const ColorScheme, scheme);
    QFETCH(const bool, highContrast);
    QFETCH(const double, leastForText);
    Appearance::shared().setOverride(scheme);
    Appearance::shared().setPortalContrast(highContrast);
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQml\nimport Kelvo.Components\nQtObject { property QtObject theme: Theme }",
                      {});
    const std::unique_ptr<QObject> holder(component.create());
    QVERIFY2(holder, qPrintable(component.errorString()));
    auto *theme = holder->property("theme").value<QObject *>();
    QVERIFY(theme);
    const auto color = [theme](const char *name) {
        const QVariant value = theme->property(name);
        if (!value.canConvert<QColor>())
            qFatal("the theme has no color %s", name);
        return value.value<QColor>();
    };
    QCOMPARE(theme->property("dark").toBool(), scheme == ColorScheme::dark);
    const QColor windowColor = color("windowBackground");
    Appearance::shared().setOverride(scheme == ColorScheme::dark ? ColorScheme::light : ColorScheme::dark);
    QVERIFY(color("windowBackground") != windowColor);
    Appearance::shared().setOverride(scheme);
    QCOMPARE(color("windowBackground"), windowColor);

    const auto check = [](const QString &what, const QColor &foreground, const QColor &background,
                          double least) {
        const double ratio = contrast(foreground, background);
        QVERIFY2(ratio >= least, qPrintable(u"%1: %2"_s.arg(what).arg(ratio)));
    };

    for (const char *surface :
         {"windowBackground", "sidebarBackground", "cardBackground", "popupBackground", "groupBackground"}) {
        for (const char *text : {"text", "secondaryText", "linkText"})
            check(QString::fromLatin1(text) + u" on "_s + QLatin1StringView(surface), color(text),
                  color(surface), leastForText);
        check(u"focus on "_s + QLatin1StringView(surface), color("focus"), color(surface), 3);
        check(u"field border on "_s + QLatin1StringView(surface), color("toggleOff"), color(surface), 3);
    }
    for (const char *control : {"control", "controlHovered", "controlPressed"})
        check(QString::fromLatin1(control), color("text"), color(control), leastForText);
    for (const char *accent : {"accent", "accentHovered", "accentPressed"})
        check(QString::fromLatin1(accent), color("accentText"), color(accent), 4.5);
    check(u"tool tip"_s, color("toolTipText"), color("toolTipBackground"), 4.5);
    check(u"screen"_s, color("screenText"), color("screen"), 4.5);

    for (const char *tone : {"neutralTone", "greenTone", "yellowTone", "orangeTone", "redTone"})
        for (const char *surface : {"cardBackground", "sidebarBackground"})
            check(QString::fromLatin1(tone) + u" on "_s + QLatin1StringView(surface), color(tone),
                  over(color(surface), color(tone), 0.15), 4.5);
    Appearance::shared().setPortalContrast(false);
    Appearance::shared().setOverride(ColorScheme::system);
}

void AppearanceTest::everySymbolIsDrawnInItsColor()
{
    SymbolCatalogue::useIconThemes();
    const QStringList symbols = SymbolCatalogue::symbols();
    QVERIFY(symbols.size() > 10);
    for (const QString &symbol : symbols) {
        for (const int extent : {16, 22, 66}) {
            const QImage image = SymbolItem::picture(symbol, extent, extent, Qt::red);
            QCOMPARE(image.size(), QSize(extent, extent));
            int drawn = 0;
            for (int y = 0; y < extent; ++y)
                for (int x = 0; x < extent; ++x)
                    if (const QColor pixel = image.pixelColor(x, y); pixel.alpha() > 128) {
                        ++drawn;
                        QVERIFY2(pixel.red() > 250 && pixel.green() < 5 && pixel.blue() < 5,
                                 qPrintable(symbol));
                    }
            QVERIFY2(drawn > extent / 2 && drawn < extent * extent * 7 / 10,
                     qPrintable(u"%1 at %2: %3 pixels"_s.arg(symbol).arg(extent).arg(drawn)));
        }
    }
    QCOMPARE(SymbolItem::picture(u"no.such.symbol"_s, 16, 16, Qt::red).pixelColor(8, 8).alpha(), 0);
}

void AppearanceTest::gridFitsItsColumns_data()
{
    QTest::addColumn<int>("available");
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("columnWidth");
    QTest::newRow("nothing") << 0 << 1 << 0;
    QTest::newRow("less than one") << 300 << 1 << 300;
    QTest::newRow("one, at its widest") << 600 << 1 << 420;
    QTest::newRow("just not two") << 655 << 1 << 420;
    QTest::newRow("two, at their narrowest") << 656 << 2 << 320;
    QTest::newRow("three") << 1134 << 3 << 367;
    QTest::newRow("wide") << 3792 << 11 << 330;
}

void AppearanceTest::gridFitsItsColumns()
{
    QFETCH(const int, available);
    AdaptiveGrid grid;
    grid.setAvailableWidth(available);
    QTEST(grid.columns(), "columns");
    QTEST(int(grid.columnWidth()), "columnWidth");
}

void AppearanceTest::mnemonicsAreMarked_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("plain");
    QTest::addColumn<QString>("underlined");
    QTest::newRow("first") << u"&File"_s << u"File"_s << u"<u>F</u>ile"_s;
    QTest::newRow("none") << u"File"_s << u"File"_s << u"File"_s;
    QTest::newRow("markup") << u"<b> &&& &c"_s << u"<b> & c"_s << u"&lt;b&gt; &amp;<u> </u><u>c</u>"_s;
    QTest::newRow("last") << u"a&"_s << u"a&"_s << u"a&amp;"_s;
}

void AppearanceTest::mnemonicsAreMarked()
{
    QFETCH(const QString, text);
    QTEST(MnemonicText::plain(text), "plain");
    QTEST(MnemonicText::underlined(text), "underlined");
}

KELVO_GUI_TEST_MAIN(AppearanceTest)
#include "tst_appearance.moc"
