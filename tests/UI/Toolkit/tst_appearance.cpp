#include "UI/Toolkit/Pages/AdaptiveGrid.h"
#include "UI/Toolkit/Style/Appearance.h"
#include "UI/Toolkit/Style/MnemonicText.h"
#include "UI/Toolkit/Style/SymbolProvider.h"
#include "support/TestMain.h"

#include <QAccessible>
#include <QPalette>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QScopeGuard>
#include <QSignalSpy>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

/// WCAG 2.1, "relative luminance" and "contrast ratio".
double contrast(const QColor &first, const QColor &second)
{
    const auto channel = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    const auto luminance = [&](const QColor &color) {
        return 0.2126 * channel(color.redF()) + 0.7152 * channel(color.greenF()) +
               0.0722 * channel(color.blueF());
    };
    const auto [darker, lighter] = std::minmax({luminance(first), luminance(second)});
    return (lighter + 0.05) / (darker + 0.05);
}

/// What a badge of the color has behind its text: 15 % of it.
QColor tinted(const QColor &background, const QColor &color)
{
    const auto mix = [](float below, float above) {
        return below + (above - below) * 0.15F;
    };
    return QColor::fromRgbF(mix(background.redF(), color.redF()), mix(background.greenF(), color.greenF()),
                            mix(background.blueF(), color.blueF()));
}

} // namespace

class AppearanceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void schemeComesFromOverridePortalThenPalette();
    void textsAreReadable();
    void everySymbolIsDrawnInItsColor();
    void gridFitsItsColumns();
    void mnemonicsAreMarked();
    void steppersStayInTheirRange();
};

void AppearanceTest::schemeComesFromOverridePortalThenPalette()
{
    using Preference = AppearancePortal::Preference;
    Appearance &appearance = Appearance::shared();
    AppearancePortal portal;
    appearance.follow(portal);
    const QSignalSpy spy(&appearance, &Appearance::darkChanged);
    QVERIFY(!appearance.isDark());
    QPalette dark;
    dark.setColor(QPalette::Window, Qt::black);
    dark.setColor(QPalette::WindowText, Qt::white);
    QGuiApplication::setPalette(dark);
    QTRY_VERIFY(appearance.isDark());
    Q_EMIT portal.preferenceTold(Preference::light);
    QVERIFY(!appearance.isDark());
    appearance.setOverride(ColorScheme::dark);
    Q_EMIT portal.preferenceTold(Preference::light);
    QVERIFY(appearance.isDark());
    appearance.setOverride(ColorScheme::system);
    QVERIFY(!appearance.isDark());
    Q_EMIT portal.preferenceTold(Preference::none);
    QVERIFY(appearance.isDark());
    QCOMPARE(spy.count(), 5);
    QVERIFY2(appearance.isHighContrast(), "white on black");
    QGuiApplication::setPalette(QPalette());
}

void AppearanceTest::textsAreReadable()
{
    AppearancePortal portal;
    Appearance::shared().follow(portal);
    const auto restore = qScopeGuard([&portal] {
        Q_EMIT portal.contrastTold(false);
        Appearance::shared().setOverride(ColorScheme::system);
    });
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQml\nimport Kelvo.Toolkit\nQtObject { property QtObject theme: Theme }", {});
    const std::unique_ptr<QObject> holder(component.create());
    QVERIFY2(holder, qPrintable(component.errorString()));
    auto *theme = holder->property("theme").value<QObject *>();

    using Names = QList<const char *>;
    const auto color = [theme](const char *name) {
        const QVariant value = theme->property(name);
        if (!value.canConvert<QColor>())
            qFatal("the theme has no color %s", name);
        return value.value<QColor>();
    };
    const auto check = [&](const Names &texts, const Names &backgrounds, double least, bool isBadge = false) {
        for (const char *text : texts) {
            for (const char *name : backgrounds) {
                const QColor background = isBadge ? tinted(color(name), color(text)) : color(name);
                const double ratio = contrast(color(text), background);
                QVERIFY2(
                    ratio >= least,
                    qPrintable(
                        u"%1 on %2: %3"_s.arg(QLatin1StringView(text), QLatin1StringView(name)).arg(ratio)));
            }
        }
    };
    const Names surfaces = {"windowBackground", "sidebarBackground", "cardBackground", "popupBackground",
                            "groupBackground"};
    for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark}) {
        for (const bool highContrast : {false, true}) {
            const double leastForText = highContrast ? 7 : 4.5; // WCAG 2.1: levels AAA and AA
            Q_EMIT portal.contrastTold(highContrast);
            Appearance::shared().setOverride(scheme);
            QCOMPARE(theme->property("dark").toBool(), scheme == ColorScheme::dark);
            check({"text", "secondaryText", "linkText"}, surfaces, leastForText);
            check({"focus", "toggleOff"}, surfaces, 3);
            check({"text"}, {"control", "controlHovered", "controlPressed"}, leastForText);
            check({"accentText"}, {"accent", "accentHovered", "accentPressed"}, 4.5);
            check({"toolTipText"}, {"toolTipBackground"}, 4.5);
            check({"screenText"}, {"screen"}, 4.5);
            check({"neutralTone", "greenTone", "yellowTone", "orangeTone", "redTone"},
                  {"cardBackground", "sidebarBackground"}, 4.5, true);
        }
    }
}

void AppearanceTest::everySymbolIsDrawnInItsColor()
{
    const QFileInfoList drawings = QDir(u":/qt-project.org/imports/Kelvo/Toolkit/symbols"_s).entryInfoList();
    QVERIFY(drawings.size() > 10);
    const auto pictureOf = [](const QString &symbol, int extent) {
        QSize size;
        return SymbolProvider().requestImage(symbol + u"/ff0000"_s, &size, {extent, extent});
    };
    for (const QFileInfo &drawing : drawings) {
        const QString symbol = drawing.completeBaseName();
        for (const int extent : {16, 22, 66}) {
            const QImage image = pictureOf(symbol, extent);
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
    QCOMPARE(pictureOf(u"no.such.symbol"_s, 16).pixelColor(8, 8).alpha(), 0);
}

void AppearanceTest::gridFitsItsColumns()
{
    for (const auto &[available, columns, columnWidth] : {std::tuple(0, 1, 0),
                                                          {300, 1, 300},
                                                          {655, 1, 420}, // one at its widest
                                                          {656, 2, 320}, // two at their narrowest
                                                          {1134, 3, 367}}) {
        AdaptiveGrid grid;
        grid.setAvailableWidth(available);
        QCOMPARE(grid.columns(), columns);
        QCOMPARE(int(grid.columnWidth()), columnWidth);
    }
}

void AppearanceTest::mnemonicsAreMarked()
{
    for (const auto &[text, plain, underlined] :
         {std::tuple(u"&File"_s, u"File"_s, u"<u>F</u>ile"_s),
          {u"<b> &&& &c"_s, u"<b> & c"_s, u"&lt;b&gt; &amp;<u> </u><u>c</u>"_s},
          {u"a&"_s, u"a&"_s, u"a&amp;"_s}}) {
        QCOMPARE(MnemonicText::plain(text), plain);
        QCOMPARE(MnemonicText::underlined(text), underlined);
    }
}

void AppearanceTest::steppersStayInTheirRange()
{
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(
        "import Kelvo.Toolkit\n"
        "Stepper { label: 'x'; value: 4; minimumValue: 1; maximumValue: 2; onEdited: to => value = to }",
        {});
    const std::unique_ptr<QObject> stepper(component.create());
    QVERIFY2(stepper, qPrintable(component.errorString()));
    QAccessibleInterface *announced = QAccessible::queryAccessibleInterface(stepper.get());
    QVERIFY(announced && announced->valueInterface());
    QCOMPARE(announced->valueInterface()->maximumValue().toInt(), 2);
    for (const auto &[step, value] :
         {std::pair(1, 4), {-1, 2}, {1, 2}, {-10, 1}, {-1, 1}, {10, 2}}) { // 4 is outside
        QMetaObject::invokeMethod(stepper.get(), "step", Q_ARG(int, step));
        QCOMPARE(announced->valueInterface()->currentValue().toInt(), value);
    }
}

KELVO_GUI_TEST_MAIN(AppearanceTest)
#include "tst_appearance.moc"
