#pragma once

#include <QStringList>

/// Which kinds of file a picker offers as installation media.
class ISOService
{
public:
    /// Three uniform type identifiers: ISO image, disk image, any data; the last admits every file.
    [[nodiscard]] QStringList isoContentTypes() const;
};
