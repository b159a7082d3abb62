#pragma once

#include "Platform/Desktop/AppearancePortal.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

class QGuiApplication;
class QJSEngine;
class QQmlEngine;

enum class ColorScheme
{
    system,
    light,
    dark
};

/// How the desktop wants the interface to look: light or dark (an override, else what the desktop's settings
/// portal says, else the lightness of the system palette), with high contrast, and with or without movement.
/// Main thread only.
class Appearance : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ isDark NOTIFY darkChanged)
    Q_PROPERTY(bool highContrast READ isHighContrast NOTIFY highContrastChanged)
    Q_PROPERTY(bool animated READ isAnimated NOTIFY animatedChanged)
    Q_PROPERTY(bool mirrored READ isMirrored NOTIFY mirroredChanged)
    Q_PROPERTY(int baseFontPixelSize READ baseFontPixelSize NOTIFY baseFontPixelSizeChanged)

public:
    ~Appearance() override;
    [[nodiscard]] static Appearance &shared();
    [[nodiscard]] static Appearance *create(QQmlEngine *engine, QJSEngine *jsEngine);

    [[nodiscard]] bool isDark() const { return m_isDark; }
    /// The desktop asks for it, or its palette has it: texts on windows of at least 20 to 1 (WCAG 2.1,
    /// "contrast ratio").
    [[nodiscard]] bool isHighContrast() const { return m_isHighContrast; }
    [[nodiscard]] bool isAnimated() const { return m_isAnimated; }
    /// Laid out from right to left.
    [[nodiscard]] bool isMirrored() const;
    /// Height of the running text's em, in device-independent pixels; never below 13.
    [[nodiscard]] int baseFontPixelSize() const { return m_baseFontPixelSize; }

    void setOverride(ColorScheme scheme);
    void follow(const AppearancePortal &portal);

Q_SIGNALS:
    void darkChanged();
    void highContrastChanged();
    void animatedChanged();
    void mirroredChanged();
    void baseFontPixelSizeChanged();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    Appearance(); // a public one would be called by the engine instead of create()

    void update();
    [[nodiscard]] bool wantsDark() const;

    ColorScheme m_override = ColorScheme::system;
    AppearancePortal::Preference m_preference = AppearancePortal::Preference::none;
    bool m_wantsContrast = false;
    bool m_isDark = false;
    bool m_isHighContrast = false;
    bool m_isAnimated = true;
    int m_baseFontPixelSize = 14;
};
