#pragma once

#include <QString>

#include <optional>

class QWindow;
struct xcb_connection_t;

/// Giving a window the focus when somebody asked for it in another process, which a desktop allows only with
/// a proof that a person did so just now.
namespace WindowActivation {

/// `token`: what came with the request, an XDG activation token or a startup notification identifier; empty
/// where nothing did. The window must have been shown. Main thread.
void activate(QWindow *window, const QString &token);

/// The moment of the launch in an identifier that ends in "_TIME" and a number (Startup Notification Protocol
/// 0.1), milliseconds of the X server.
[[nodiscard]] std::optional<quint32> launchTime(QStringView identifier);
/// The present on the server of $DISPLAY, milliseconds; none when that does not answer.
[[nodiscard]] std::optional<quint32> serverTime();
/// Asks the window manager (EWMH 1.5, _NET_ACTIVE_WINDOW, from an application).
void requestFocus(xcb_connection_t *connection, quint32 window, quint32 time);

} // namespace WindowActivation
