#pragma once

#include <QList>
#include <QUrl>

class FileManager;

/// A bundle may come from somebody else. What a machine opens for writing must then not be a link that leads
/// to another file of the user's, nor a device or a pipe.
namespace BundleFiles {

/// None is a link, a device, a pipe or a socket. Throws KelvoError (configurationInvalid) that names the
/// first that is. What has to be a file and is a folder fails where it is opened.
void requireOrdinary(const QList<QUrl> &files, const FileManager &fileManager);
/// The same for a folder and all that is directly in it.
void requireOrdinaryFolder(const QUrl &folder, const FileManager &fileManager);

} // namespace BundleFiles
