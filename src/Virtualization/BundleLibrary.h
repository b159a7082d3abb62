#pragma once

#include "Models/VMStorage.h"

#include <QHash>

class VirtualMachine;

/// The machines' folders, and what other hands do to them. A bundle is where it is found, whatever its
/// document says. One that was copied is a machine of its own, with an identifier and a port that follow from
/// the folder; its documents are written when it is first saved, and the original is never touched. Nothing
/// is written over a document that another hand has changed or put there. Keyed by folder; main thread only.
class BundleLibrary
{
public:
    explicit BundleLibrary(const VMStorage &storage);

    [[nodiscard]] const VMStorage &storage() const { return m_storage; }

    /// Every bundle in the root, by name, each with an identifier of its own, without those in whose folder
    /// one of the `kept` machines is. Throws PlatformError.
    [[nodiscard]] QList<VMConfiguration> readAll(const QList<VirtualMachine *> &kept);
    /// Those in the root in whose folder none of the `listed` machines is; nothing where nothing has changed.
    /// One that was moved has the identifier of a listed machine, which is not in its folder any more. Throws
    /// PlatformError.
    [[nodiscard]] QList<VMConfiguration> readNew(const QList<VirtualMachine *> &listed);
    /// That of a folder in which no listed machine is, inside or outside the root, like readNew(). Throws
    /// VMStorageError or PlatformError.
    [[nodiscard]] VMConfiguration read(const QUrl &folder, const QList<VirtualMachine *> &listed);

    /// What another hand has made of the document since it was last read here; none where nothing has
    /// changed. Throws like requireOwnDocument().
    [[nodiscard]] std::optional<VMConfiguration> readChanges(const VMConfiguration &configuration);
    /// Throws VMStorageError or PlatformError for a folder without a readable document, and KelvoError where
    /// the document is a link or another machine's.
    void requireOwnDocument(const VMConfiguration &configuration) const;
    /// Throws KelvoError where there is anything in the folder: a new machine would take it for its own.
    void requireFreeFolder(const QUrl &folder) const;
    /// A new machine's first documents. Throws PlatformError.
    void write(const VMConfiguration &configuration, const VMPersistedMetadata &metadata);
    /// Throws like requireOwnDocument(), and KelvoError where another hand has changed the document
    /// meanwhile.
    void save(const VMConfiguration &configuration, const VMPersistedMetadata &metadata);
    void saveMetadata(const VMConfiguration &configuration, const VMPersistedMetadata &metadata) const;
    /// True for a copy whose documents are still the original's.
    [[nodiscard]] bool isUnsavedCopy(const VMConfiguration &configuration) const;

    /// The folder behind links and other spellings; empty where there is none.
    [[nodiscard]] static QString placeOf(const QUrl &folder);

private:
    /// Of a bundle that was looked at, or whose document says less than the truth.
    struct Record
    {
        std::optional<QUuid> original; ///< whose documents an unsaved copy has
        bool isVersionKnown = false;
        std::optional<FileManager::Version> version; ///< of the document, as read or written
    };

    /// The folders of machines, by identifier.
    using Homes = QHash<QUuid, QUrl>;

    [[nodiscard]] QUrl folderNamed(const QString &name) const;
    [[nodiscard]] static Homes homesOf(const QList<VirtualMachine *> &machines);
    [[nodiscard]] QList<VMConfiguration> settled(QList<VMStorage::FoundBundle> bundles, Homes homes);
    [[nodiscard]] bool settle(VMConfiguration &configuration, const QUrl &folder, Homes &homes);
    [[nodiscard]] bool isHome(const QUrl &folder, const QUuid &id, const QUrl &found) const;
    [[nodiscard]] static bool isSamePlace(const QUrl &left, const QUrl &right);
    void becomeCopy(VMConfiguration &configuration);
    [[nodiscard]] VMConfiguration ownDocument(const VMConfiguration &configuration) const;

    VMStorage m_storage;
    QHash<QUrl, Record> m_records;
    std::optional<FileManager::Version> m_knownRoot;
};
