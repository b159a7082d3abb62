#pragma once

#include "Models/VMConfiguration.h"

#include <QByteArray>

/// One JSON object, keys sorted, absent optional values left out, slashes escaped. Throws
/// VMStorageError::encodingFailed for a number that JSON readers cannot carry (above 2^63 − 1, not finite).
[[nodiscard]] QByteArray encodeConfiguration(const VMConfiguration &configuration);
/// Only an absent optional key falls back to its default; anything wrong throws
/// VMStorageError::decodingFailed.
[[nodiscard]] VMConfiguration decodeConfiguration(const QByteArray &document);
