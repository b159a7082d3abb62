#pragma once

#include "Models/VMConfiguration.h"
#include "Models/VMPersistedMetadata.h"
#include "Platform/FileManager.h"

#include <QSet>

/// Writes a bundle's two documents and finds all bundles of a root folder. A value; used on the main thread.
class VMStorage
{
public:
    static constexpr qint64 maximumDocumentBytes = qint64(1) << 20;

    /// `fileManager` must outlive every copy.
    VMStorage(const QUrl &rootDirectory, FileManager &fileManager);

    [[nodiscard]] const QUrl &rootDirectory() const { return m_rootDirectory; }
    [[nodiscard]] FileManager &fileManager() const { return *m_fileManager; }

    /// Makes the root folder with its parents. Throws PlatformError.
    void ensureRootDirectory() const;
    /// Writes "config.json", with the time of saving as its `modifiedAt`, then "metadata.json"; absent
    /// metadata is written as a fresh record. Throws PlatformError or VMStorageError; an earlier document
    /// stays then.
    void save(const VMConfiguration &configuration, const std::optional<VMPersistedMetadata> &metadata) const;
    /// The first half of save(); its version is then configurationVersion().
    void saveConfiguration(const VMConfiguration &configuration) const;
    void saveMetadata(const VMPersistedMetadata &metadata, const VMConfiguration &configuration) const;
    /// Every readable bundle directly inside the root, by name as people sort; unreadable ones are left out.
    /// Throws PlatformError when the root itself cannot be made or listed.
    [[nodiscard]] QList<VMConfiguration> scanVirtualMachines() const;
    struct FoundBundle
    {
        QString folderName; ///< in the root
        VMConfiguration configuration;
    };
    struct Scan
    {
        QList<FoundBundle> bundles; ///< by folder name
        bool isWhole = true;        ///< false where a folder of a bundle's name could not be read as one
    };
    /// The bundles in the root, without those in folders of the `known` names.
    [[nodiscard]] Scan scanBundles(const QSet<QString> &known = {}) const;
    /// By the machines' names as people of the current locale do, ignoring case; equal names keep their
    /// order.
    static void sortByName(QList<FoundBundle> &bundles);
    /// Another one after each change of the root's entries; none where there is no root.
    [[nodiscard]] std::optional<FileManager::Version> rootVersion() const;
    /// Of the document that loadConfiguration() would read.
    [[nodiscard]] std::optional<FileManager::Version> configurationVersion(const QUrl &bundle) const;
    /// Throws VMStorageError (invalidBundle without a "config.json", decodingFailed) or PlatformError.
    [[nodiscard]] VMConfiguration loadConfiguration(const QUrl &bundle) const;
    /// A fresh record where there is no "metadata.json". Throws VMStorageError or PlatformError.
    [[nodiscard]] VMPersistedMetadata loadMetadata(const QUrl &bundle) const;

private:
    [[nodiscard]] VMConfiguration loadConfigurationAt(const QString &bundlePath) const;

    QUrl m_rootDirectory;
    FileManager *m_fileManager;
};
