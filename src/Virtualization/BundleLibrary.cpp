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

QList<VMConfiguration> BundleLibrary::readAll(const QList<VirtualMachine *> &kept)
{
    const std::optional<FileManager::Version> root = m_storage.rootVersion(); // before anything is read
    VMStorage::Scan scan = m_storage.scanBundles();
    m_knownRoot = scan.isWhole ? root : std::nullopt;
    m_records.clear();
    return settled(std::move(scan.bundles), homesOf(kept));
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
    return settled(std::move(scan.bundles), homesOf(listed));
}

VMConfiguration BundleLibrary::read(const QUrl &folder, const QList<VirtualMachine *> &listed)
{
    VMConfiguration configuration = m_storage.loadConfiguration(folder);
    Homes homes = homesOf(listed);
    (void)settle(configuration, FileUrl::directory(FileUrl::path(folder)), homes);
    return configuration;
}

BundleLibrary::Homes BundleLibrary::homesOf(const QList<VirtualMachine *> &machines)
{
    Homes homes;
    homes.reserve(machines.size());
    for (const VirtualMachine *vm : machines)
        homes.insert(vm->id(), vm->configuration().storageDirectory);
    return homes;
}

QList<VMConfiguration> BundleLibrary::settled(QList<VMStorage::FoundBundle> bundles, Homes homes)
{
    // Those that their document places there come first: they are no copies of others.
    std::stable_partition(bundles.begin(), bundles.end(), [this](const VMStorage::FoundBundle &bundle) {
        return isSamePlace(bundle.configuration.storageDirectory, folderNamed(bundle.folderName));
    });
    QList<VMStorage::FoundBundle> kept;
    kept.reserve(bundles.size());
    for (VMStorage::FoundBundle &bundle : bundles)
        if (settle(bundle.configuration, folderNamed(bundle.folderName), homes))
            kept.append(std::move(bundle));
    VMStorage::sortByName(kept);
    QList<VMConfiguration> configurations;
    configurations.reserve(kept.size());
    for (VMStorage::FoundBundle &bundle : kept)
        configurations.append(std::move(bundle.configuration));
    return configurations;
}

/// Settles whose the bundle is that was found in the folder. False for one that is in `homes` already, and
/// was reached by a link.
bool BundleLibrary::settle(VMConfiguration &configuration, const QUrl &folder, Homes &homes)
{
    const QUrl named = std::exchange(configuration.storageDirectory, folder);
    const QUrl home = homes.value(configuration.id);
    if (isSamePlace(home, folder))
        return false;
    if (isHome(home.isEmpty() ? named : home, configuration.id, folder))
        becomeCopy(configuration);
    else if (!home.isEmpty())
        m_knownRoot.reset(); // what has taken the old place is looked for as soon as the machine has left it
    homes.insert(configuration.id, folder);
    return true;
}

/// The machine of that identifier is in the folder, which is another one than `found`.
bool BundleLibrary::isHome(const QUrl &folder, const QUuid &id, const QUrl &found) const
{
    if (placeOf(folder).isEmpty() || isSamePlace(folder, found))
        return false;
    try {
        return m_storage.loadConfiguration(folder).id == id;
    } catch (const LocalizedError &) {
        return false;
    }
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

bool BundleLibrary::isSamePlace(const QUrl &left, const QUrl &right)
{
    return left == right || (!left.isEmpty() && placeOf(left) == placeOf(right));
}
