#pragma once

#include <QJsonObject>

/// `vnc-server --port P --width W --height H [--rate N]`: serves VNC clients on 127.0.0.1 and answers every
/// update request with the same full frame, at once or at most so many times a second. Never returns.
[[nodiscard]] QJsonObject runFrameServer(const QStringList &arguments);
