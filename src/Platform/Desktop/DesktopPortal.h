#pragma once

#include <QString>

/// Where the desktop's portals are on the session bus (XDG Desktop Portal, "org.freedesktop.portal.*").
namespace DesktopPortal {

inline const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString path = QStringLiteral("/org/freedesktop/portal/desktop");

} // namespace DesktopPortal
