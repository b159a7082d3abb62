#include "Models/VMStorage.h"

#include "Models/VMConfigurationCoding.h"
#include "Models/VMStorageError.h"
#include "Platform/FileUrl.h"
#include "Platform/PlatformError.h"

#include <QCollator>

#include <algorithm>
#include <cerrno>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

QString configPath(const QString &bundlePath)
{
    return bundlePath + u"/config.json"_s;
}

/// Sorts by name as people of the current locale do, ignoring case; equal names keep their order.
QList<VMConfiguration> sortedByName(QList<VMConfiguration> configurations)
{
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    // Without a language the collator's sort keys would tell cases apart.
    const bool hasLanguage = collator.locale().language() != QLocale::C;

    struct Row
    {
        QCollatorSortKey key;
        qsizetype index;
    };
    std::vector<Row> rows;
    rows.reserve(static_cast<std::size_t>(configurations.size()));
    for (qsizetype index = 0; index < configurations.size(); ++index) {
        const QString &name = configurations[index].name;
        rows.push_back({collator.sortKey(hasLanguage ? name : name.toCaseFolded()), index});
    }
    std::ranges::stable_sort(rows, [](const Row &left, const Row &right) { return left.key < right.key; });

    QList<VMConfiguration> sorted;
    sorted.reserve(configurations.size());
    for (const Row &row : rows)
        sorted.append(std::move(configurations[row.index]));
    return sorted;
}

} // namespace

VMStorage::VMStorage(const QUrl &rootDirectory, FileManager &fileManager)
    : m_rootDirectory(rootDirectory)
    , m_fileManager(&fileManager)
{}

void VMStorage::ensureRootDirectory() const
{
    m_fileManager->createDirectory(FileUrl::path(m_rootDirectory));
}

void VMStorage::save(const VMConfiguration &configuration,
                     const std::optional<VMPersistedMetadata> &metadata) const
{
    ensureRootDirectory();
    m_fileManager->createDirectory(FileUrl::path(configuration.storageDirectory));
    VMConfiguration written = configuration;
    written.modifiedAt = QDateTime::currentDateTimeUtc();
    m_fileManager->writeAtomically(FileUrl::path(configuration.configFileURL()),
                                   encodeConfiguration(written));
    saveMetadata(metadata.value_or(VMPersistedMetadata()), configuration);
}

void VMStorage::saveMetadata(const VMPersistedMetadata &metadata, const VMConfiguration &configuration) const
{
    m_fileManager->writeAtomically(FileUrl::path(configuration.metadataFileURL()), encodeMetadata(metadata));
}

QList<VMConfiguration> VMStorage::scanVirtualMachines() const
{
    return scanVirtualMachines({});
}

QList<VMConfiguration> VMStorage::scanVirtualMachines(const QSet<QString> &known) const
{
    ensureRootDirectory();
    const QString root = FileUrl::path(m_rootDirectory);
    QList<VMConfiguration> configurations;
    QSet<QString> paths; // many machines are installed from few images, and share the memory of their paths
    const auto share = [&paths](std::optional<QString> &path) {
        if (path)
            path = *paths.insert(*path);
    };
    for (const FileManager::DirectoryEntry &entry : m_fileManager->contentsOfDirectory(root)) {
        if (!entry.isDirectory || !entry.name.endsWith(".vm"_L1) || known.contains(entry.name))
            continue;
        try {
            VMConfiguration configuration = loadConfigurationAt(root + u'/' + entry.name);
            share(configuration.installationMediaPath);
            share(configuration.virtioDriversMediaPath);
            configurations.append(std::move(configuration));
        } catch (const LocalizedError &) {
            // One bad bundle must not hide the others.
        }
    }
    return sortedByName(std::move(configurations));
}

std::optional<FileManager::Version> VMStorage::rootVersion() const
{
    return m_fileManager->versionOf(FileUrl::path(m_rootDirectory));
}

std::optional<FileManager::Version> VMStorage::configurationVersion(const QUrl &bundle) const
{
    return m_fileManager->versionOf(configPath(FileUrl::path(bundle)));
}

VMConfiguration VMStorage::loadConfiguration(const QUrl &bundle) const
{
    return loadConfigurationAt(FileUrl::path(bundle));
}

VMConfiguration VMStorage::loadConfigurationAt(const QString &bundlePath) const
{
    try {
        return decodeConfiguration(m_fileManager->readFile(configPath(bundlePath), maximumDocumentBytes));
    } catch (const PlatformError &error) {
        if (error.code() == ENOENT)
            throw VMStorageError::invalidBundle(FileUrl::directory(bundlePath));
        throw;
    }
}

VMPersistedMetadata VMStorage::loadMetadata(const QUrl &bundle) const
{
    try {
        const QString path = FileUrl::path(bundle) + u"/metadata.json"_s;
        return decodeMetadata(m_fileManager->readFile(path, maximumDocumentBytes));
    } catch (const PlatformError &error) {
        if (error.code() == ENOENT)
            return {};
        throw;
    }
}
