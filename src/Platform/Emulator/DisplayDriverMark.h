#pragma once

/// A file of this name in the folder in which the emulator is started, which is its machine's, says that the
/// guest has a driver for a virtio display: the host adapter then leaves it that display. Needs nothing but
/// the C library.
inline constexpr char displayDriverMark[] = "virtio-display";
