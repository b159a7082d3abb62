#pragma once

#include <QStringList>

/// Which kinds of file a picker offers as installation media.
class ISOService
{
public:
    /// Three uniform type identifiers: ISO image, disk image, any data; the last admits every file.
    [[nodiscard]] QStringList isoContentTypes() const;
    /// Patterns of the names that such a file usually has; letters of either case.
    [[nodiscard]] QStringList namePatterns() const;
};
