#pragma once

#include <QStringList>
#include <QUrl>

/// What readPlainly() found.
struct PlainLibrary
{
    QStringList names; ///< of the bundles, without ".vm"
    qint64 bytes = 0;  ///< of documents
    qint64 blocks = 0; ///< of disk images
};

/// Makes bundles of Windows machines with empty disk images: "Machine 0.vm", "Machine 1.vm" and so on. Throws
/// PlatformError.
void makeLibrary(const QUrl &root, int count);

/// The least that it can cost to read the same documents with the same parser and to measure the same images.
[[nodiscard]] PlainLibrary readPlainly(const QString &root);
