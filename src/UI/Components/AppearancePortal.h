#pragma once

#include "UI/Components/Appearance.h"

#include <QDBusMessage>
#include <QObject>

#include <optional>

/// Keeps the Appearance at what the desktop's settings portal says (org.freedesktop.portal.Settings, versions
/// 1 and 2). Connecting and asking happen off the main thread; without a session bus or a portal nothing
/// happens.
class AppearancePortal : public QObject
{
    Q_OBJECT

public:
    explicit AppearancePortal(Appearance &appearance, QObject *parent = nullptr);
    ~AppearancePortal() override;

    void start();

    /// No value for anything but an unsigned number, also one that is wrapped in variants.
    [[nodiscard]] static std::optional<Appearance::PortalPreference> preference(const QVariant &value);

private Q_SLOTS:
    void settingChanged(const QDBusMessage &message);

private:
    void ask();

    void take(const QVariant &value);

    Appearance &m_appearance;
};
