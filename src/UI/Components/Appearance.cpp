#include "UI/Components/Appearance.h"

#include <QEvent>
#include <QFontInfo>
#include <QGuiApplication>
#include <QPalette>
#include <QQmlEngine>

Appearance::Appearance()
{
    qGuiApp->installEventFilter(this);
    update();
}

Appearance::~Appearance() = default;

Appearance &Appearance::shared()
{
    static Appearance appearance;
    return appearance;
}

Appearance *Appearance::create(QQmlEngine *, QJSEngine *)
{
    QQmlEngine::setObjectOwnership(&shared(), QQmlEngine::CppOwnership);
    return &shared();
}

void Appearance::setOverride(ColorScheme scheme)
{
    m_override = scheme;
    update();
}

void Appearance::setPortalPreference(PortalPreference preference)
{
    m_portalPreference = preference;
    update();
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
    if (m_portalPreference != PortalPreference::none)
        return m_portalPreference == PortalPreference::dark;
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

void Appearance::update()
{
    if (const bool dark = wantsDark(); std::exchange(m_isDark, dark) != dark)
        Q_EMIT darkChanged();
    const int pixelSize = qMax(13, QFontInfo(QGuiApplication::font()).pixelSize());
    if (std::exchange(m_baseFontPixelSize, pixelSize) != pixelSize)
        Q_EMIT baseFontPixelSizeChanged();
}
