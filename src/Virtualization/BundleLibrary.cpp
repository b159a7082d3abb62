#include "Virtualization/BundleLibrary.h"

#include "Models/VirtualMachine.h"
#include "Platform/FileUrl.h"
#include "Virtualization/Backend/KelvoError.h"
#include "Virtualization/BundleFiles.h"

#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;

namespace {

/// False where an entry that came at the same time may have been overlooked.
bool hasSettled(const FileManager::Version &root)
{
    constexpr std::chrono::minutes enough{1};
    const std::chrono::nanoseconds changed(root.nanoseconds);
    return std::chrono::system_clock::now().time_since_epoch() - changed > enough;
}

} // namespace

BundleLibrary::BundleLibrary(const VMStorage &storage)
    : m_storage(storage)
{}

QList<VMConfiguration> BundleLibrary::readAll()
{
    const std::optional<FileManager::Version> root = m_storage.rootVersion(); // before anything is read
    VMStorage::Scan scan = m_storage.scanBundles();
    m_knownRoot = scan.isWhole ? root : std::nullopt;
    m_records.clear();

    QSet<QUuid> taken;
    QList<qsizetype> elsewhere;
    for (qsizetype index = 0; index < scan.bundles.size(); ++index) {
        const VMStorage::FoundBundle &bundle = scan.bundles[index];
        if (isAtHome(bundle.configuration, folderNamed(bundle.folderName)))
            taken.insert(bundle.configuration.id);
        else
            elsewhere.append(index);
    }
    for (const qsizetype index : std::as_const(elsewhere)) {
        VMConfiguration &configuration = scan.bundles[index].configuration;
        configuration.storageDirectory = folderNamed(scan.bundles[index].folderName);
        if (taken.contains(configuration.id))
            becomeCopy(configuration);
        taken.insert(configuration.id);
    }
    QList<VMConfiguration> configurations;
    configurations.reserve(scan.bundles.size());
    for (VMStorage::FoundBundle &bundle : scan.bundles)
        configurations.append(std::move(bundle.configuration));
    return configurations;
}

QList<VMConfiguration> BundleLibrary::readNew(const QList<VirtualMachine *> &listed)
{
    const std::optional<FileManager::Version> root = m_storage.rootVersion();
    if (!root || root == m_knownRoot)
        return {};
    QSet<QString> known;
    for (const VirtualMachine *vm : listed) {
        const QUrl &folder = vm->configuration().storageDirectory;
        if (FileUrl::deletingLastComponent(folder) == m_storage.rootDirectory())
            known.insert(FileUrl::lastComponent(folder));
    }
    VMStorage::Scan scan = m_storage.scanBundles(known);
    if (scan.isWhole && hasSettled(*root))
        m_knownRoot = root;
    QList<VMConfiguration> configurations;
    for (VMStorage::FoundBundle &bundle : scan.bundles)
        configurations.append(
            settled(std::move(bundle.configuration), folderNamed(bundle.folderName), listed));
    return configurations;
}

VMConfiguration BundleLibrary::read(const QUrl &folder, const QList<VirtualMachine *> &listed)
{
    return settled(m_storage.loadConfiguration(folder), FileUrl::directory(FileUrl::path(folder)), listed);
}

VMConfiguration BundleLibrary::settled(VMConfiguration configuration, const QUrl &folder,
                                       const QList<VirtualMachine *> &listed)
{
    configuration.storageDirectory = folder;
    const auto original = std::ranges::find(listed, configuration.id, &VirtualMachine::id);
    if (original != listed.end() && !placeOf((*original)->configuration().storageDirectory).isEmpty())
        becomeCopy(configuration);
    return configuration;
}

void BundleLibrary::becomeCopy(VMConfiguration &configuration)
{
    const QString folder = FileUrl::path(configuration.storageDirectory);
    m_records[configuration.storageDirectory].original = configuration.id;
    configuration.id = QUuid::createUuidV5(configuration.id, folder);
    configuration.vncPort = VMConfiguration::defaultVNCPort(configuration.id);
    configuration.name = QFileInfo(folder).completeBaseName();
}

std::optional<VMConfiguration> BundleLibrary::readChanges(const VMConfiguration &configuration)
{
    Record &record = m_records[configuration.storageDirectory];
    const std::optional<FileManager::Version> version =
        m_storage.configurationVersion(configuration.storageDirectory);
    if (record.isVersionKnown && record.version == version)
        return std::nullopt;
    VMConfiguration changed = ownDocument(configuration);
    record.isVersionKnown = true;
    record.version = version;
    changed.storageDirectory = configuration.storageDirectory;
    if (record.original) {
        changed.id = configuration.id;
        changed.vncPort = configuration.vncPort;
        changed.name = configuration.name;
    }
    return changed;
}

void BundleLibrary::requireOwnDocument(const VMConfiguration &configuration) const
{
    (void)ownDocument(configuration);
}

VMConfiguration BundleLibrary::ownDocument(const VMConfiguration &configuration) const
{
    const QUrl &folder = configuration.storageDirectory;
    VMConfiguration document = m_storage.loadConfiguration(folder);
    BundleFiles::requireOrdinary({configuration.configFileURL()}, m_storage.fileManager());
    if (document.id != m_records.value(folder).original.value_or(configuration.id)) {
        throw KelvoError::internalError(
            u"“%1” holds another virtual machine now."_s.arg(FileUrl::path(folder)));
    }
    return document;
}

void BundleLibrary::requireFreeFolder(const QUrl &folder) const
{
    const QString path = FileUrl::path(folder);
    const FileManager &files = m_storage.fileManager();
    const FileManager::FileKind kind = files.kindOf(path);
    if (kind == FileManager::FileKind::absent ||
        (kind == FileManager::FileKind::folder && files.contentsOfDirectory(path).isEmpty()))
        return;
    throw KelvoError::internalError(
        u"“%1” already exists. Choose another name or storage location."_s.arg(path));
}

void BundleLibrary::save(const VMConfiguration &configuration, const VMPersistedMetadata &metadata)
{
    const QUrl &folder = configuration.storageDirectory;
    requireOwnDocument(configuration);
    const Record record = m_records.value(folder);
    if (record.isVersionKnown && record.version != m_storage.configurationVersion(folder)) {
        throw KelvoError::internalError(
            u"Another application has changed “%1”. Nothing was saved; open the settings again to see what they are now."_s
                .arg(configuration.name));
    }
    if (record.original) {
        FileManager &files = m_storage.fileManager();
        const QString identifier = FileUrl::path(configuration.machineIdentifierURL());
        if (files.kindOf(identifier) == FileManager::FileKind::file)
            files.removeItem(identifier); // the next start makes one
    }
    write(configuration, metadata);
}

void BundleLibrary::write(const VMConfiguration &configuration, const VMPersistedMetadata &metadata)
{
    const QUrl &folder = configuration.storageDirectory;
    m_storage.saveConfiguration(configuration);
    m_records.insert(folder, {std::nullopt, true, m_storage.configurationVersion(folder)});
    m_storage.saveMetadata(metadata, configuration);
}

void BundleLibrary::saveMetadata(const VMConfiguration &configuration,
                                 const VMPersistedMetadata &metadata) const
{
    requireOwnDocument(configuration);
    m_storage.saveMetadata(metadata, configuration);
}

bool BundleLibrary::isUnsavedCopy(const VMConfiguration &configuration) const
{
    return m_records.value(configuration.storageDirectory).original.has_value();
}

QString BundleLibrary::placeOf(const QUrl &folder)
{
    return QFileInfo(FileUrl::path(folder)).canonicalFilePath();
}

QUrl BundleLibrary::folderNamed(const QString &name) const
{
    return FileUrl::appendingDirectory(m_storage.rootDirectory(), name);
}

bool BundleLibrary::isAtHome(const VMConfiguration &configuration, const QUrl &folder)
{
    return configuration.storageDirectory == folder ||
           placeOf(configuration.storageDirectory) == placeOf(folder);
}
