#pragma once

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

/// Whether the interface is light or dark: an override, else what the desktop says through its settings
/// portal
/// ("org.freedesktop.appearance", "color-scheme"), else the lightness of the system palette. Main thread
/// only.
class Appearance : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ isDark NOTIFY darkChanged)
    Q_PROPERTY(int baseFontPixelSize READ baseFontPixelSize NOTIFY baseFontPixelSizeChanged)

public:
    /// The portal's values.
    enum class PortalPreference
    {
        none = 0,
        dark = 1,
        light = 2
    };

    ~Appearance() override;
    [[nodiscard]] static Appearance &shared();
    [[nodiscard]] static Appearance *create(QQmlEngine *engine, QJSEngine *jsEngine);

    [[nodiscard]] bool isDark() const { return m_isDark; }
    /// Height of the running text's em, in device-independent pixels; never below 13.
    [[nodiscard]] int baseFontPixelSize() const { return m_baseFontPixelSize; }

    void setOverride(ColorScheme scheme);
    void setPortalPreference(PortalPreference preference);

Q_SIGNALS:
    void darkChanged();
    void baseFontPixelSizeChanged();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    Appearance(); // a public one would be called by the engine instead of create()

    void update();
    [[nodiscard]] bool wantsDark() const;

    ColorScheme m_override = ColorScheme::system;
    PortalPreference m_portalPreference = PortalPreference::none;
    bool m_isDark = false;
    int m_baseFontPixelSize = 14;
};
