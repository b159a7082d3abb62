#pragma once

#include <QtGlobal>

inline constexpr quint64 mebibyte = quint64(1) << 20; ///< bytes
inline constexpr quint64 gibibyte = quint64(1) << 30;
inline constexpr quint64 tebibyte = quint64(1) << 40;
