#pragma once

#include <QString>

/// Byte counts as people read them, in the user's locale; none at all is "Zero KB".
namespace ByteCount {

/// Decimal units, as file managers count: "12 KB", "4.2 MB", "63.95 GB".
[[nodiscard]] QString fileStyle(quint64 bytes);
/// Binary units under the short names that memory is sold by: "8 GB".
[[nodiscard]] QString memoryStyle(quint64 bytes);

} // namespace ByteCount
