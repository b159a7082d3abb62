#pragma once

#include "Platform/UniqueDescriptor.h"

#include <QString>

namespace FileLock {

/// Locks the file for whoever has this descriptor or inherits it (flock(2)), until the last of them has
/// closed it; invalid while others have the lock. Throws PlatformError. Any thread.
[[nodiscard]] UniqueDescriptor take(const QString &path);

} // namespace FileLock
