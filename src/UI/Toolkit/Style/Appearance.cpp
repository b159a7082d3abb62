#include "UI/Toolkit/Style/Appearance.h"

#include "UI/Toolkit/Style/SymbolProvider.h"

#include <QEvent>
#include <QFontInfo>
#include <QGuiApplication>
#include <QPalette>
#include <QQmlEngine>

#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// WCAG 2.1, "relative luminance".
double luminance(const QColor &color)
{
    const auto linear = [](float value) {
        return value <= 0.04045F ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

bool isHighContrast(const QPalette &palette)
{
    const auto [darker, lighter] = std::minmax(
        {luminance(palette.color(QPalette::Window)), luminance(palette.color(QPalette::WindowText))});
    return (lighter + 0.05) / (darker + 0.05) >= 20;
}

} // namespace

Appearance::Appearance()
{
    qGuiApp->installEventFilter(this);
    connect(qGuiApp, &QGuiApplication::layoutDirectionChanged, this, &Appearance::mirroredChanged);
    update();
}

Appearance::~Appearance() = default;

Appearance &Appearance::shared()
{
    static Appearance appearance;
    return appearance;
}

Appearance *Appearance::create(QQmlEngine *engine, QJSEngine *)
{
    engine->addImageProvider(u"symbol"_s, new SymbolProvider);
    QQmlEngine::setObjectOwnership(&shared(), QQmlEngine::CppOwnership);
    return &shared();
}

void Appearance::setOverride(ColorScheme scheme)
{
    m_override = scheme;
    update();
}

void Appearance::follow(const AppearancePortal &portal)
{
    connect(&portal, &AppearancePortal::preferenceTold, this,
            [this](AppearancePortal::Preference preference) {
                m_preference = preference;
                update();
            });
    connect(&portal, &AppearancePortal::contrastTold, this, [this](bool isHigh) {
        m_wantsContrast = isHigh;
        update();
    });
    connect(&portal, &AppearancePortal::animationTold, this, [this](bool isWanted) {
        if (std::exchange(m_isAnimated, isWanted) != isWanted)
            Q_EMIT animatedChanged();
    });
}

bool Appearance::isMirrored() const
{
    return QGuiApplication::isRightToLeft();
}

bool Appearance::eventFilter(QObject *watched, QEvent *event)
{
    const bool isSystemChange = event->type() == QEvent::ApplicationPaletteChange ||
                                event->type() == QEvent::ApplicationFontChange ||
                                event->type() == QEvent::ThemeChange;
    if (isSystemChange && watched == qGuiApp)
        update();
    return false;
}

bool Appearance::wantsDark() const
{
    if (m_override != ColorScheme::system)
        return m_override == ColorScheme::dark;
    if (m_preference != AppearancePortal::Preference::none)
        return m_preference == AppearancePortal::Preference::dark;
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

void Appearance::update()
{
    if (const bool dark = wantsDark(); std::exchange(m_isDark, dark) != dark)
        Q_EMIT darkChanged();
    const bool isHigh = m_wantsContrast || ::isHighContrast(QGuiApplication::palette());
    if (std::exchange(m_isHighContrast, isHigh) != isHigh)
        Q_EMIT highContrastChanged();
    const int pixelSize = qMax(13, QFontInfo(QGuiApplication::font()).pixelSize());
    if (std::exchange(m_baseFontPixelSize, pixelSize) != pixelSize)
        Q_EMIT baseFontPixelSizeChanged();
}
