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
    saveConfiguration(configuration);
    saveMetadata(metadata.value_or(VMPersistedMetadata()), configuration);
}

void VMStorage::saveConfiguration(const VMConfiguration &configuration) const
{
    ensureRootDirectory();
    m_fileManager->createDirectory(FileUrl::path(configuration.storageDirectory));
    VMConfiguration written = configuration;
    written.modifiedAt = QDateTime::currentDateTimeUtc();
    m_fileManager->writeAtomically(FileUrl::path(configuration.configFileURL()),
                                   encodeConfiguration(written));
}

void VMStorage::saveMetadata(const VMPersistedMetadata &metadata, const VMConfiguration &configuration) const
{
    m_fileManager->writeAtomically(FileUrl::path(configuration.metadataFileURL()), encodeMetadata(metadata));
}

QList<VMConfiguration> VMStorage::scanVirtualMachines() const
{
    QList<FoundBundle> bundles = scanBundles().bundles;
    sortByName(bundles);
    QList<VMConfiguration> configurations;
    for (FoundBundle &bundle : bundles)
        configurations.append(std::move(bundle.configuration));
    return configurations;
}

VMStorage::Scan VMStorage::scanBundles(const QSet<QString> &known) const
{
    ensureRootDirectory();
    const QString root = FileUrl::path(m_rootDirectory);
    Scan scan;
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
            scan.bundles.append({entry.name, std::move(configuration)});
        } catch (const LocalizedError &) {
            scan.isWhole = false; // one bad bundle must not hide the others
        }
    }
    std::ranges::sort(scan.bundles, {}, &FoundBundle::folderName);
    return scan;
}

void VMStorage::sortByName(QList<FoundBundle> &bundles)
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
    rows.reserve(static_cast<std::size_t>(bundles.size()));
    for (qsizetype index = 0; index < bundles.size(); ++index) {
        const QString &name = bundles[index].configuration.name;
        rows.push_back({collator.sortKey(hasLanguage ? name : name.toCaseFolded()), index});
    }
    std::ranges::stable_sort(rows, [](const Row &left, const Row &right) { return left.key < right.key; });

    QList<VMStorage::FoundBundle> sorted;
    sorted.reserve(bundles.size());
    for (const Row &row : rows)
        sorted.append(std::move(bundles[row.index]));
    bundles = std::move(sorted);
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
