#pragma once

#include <QJsonObject>

/// `vnc-server --port P --width W --height H`: serves one VNC client after the other on 127.0.0.1 and answers
/// every update request at once with the same full frame. Never returns.
[[nodiscard]] QJsonObject runFrameServer(const QStringList &arguments);
