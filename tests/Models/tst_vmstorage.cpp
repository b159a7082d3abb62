#include "Models/VMConfigurationCoding.h"
#include "Models/VMStorage.h"
#include "Platform/FileUrl.h"
#include "support/Expectations.h"
#include "support/TemporaryHost.h"
#include "support/TestMain.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/stat.h>

#include <algorithm>

using namespace Qt::StringLiterals;

class VMStorageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void missingRootIsMadeAndEmpty();
    void scanFindsOnlyReadableBundles();
    void scanSurvivesAHalfBrokenLibrary();
    void namesAreSortedForPeople();
    void savingWritesBothDocumentsForTheUserAlone();
    void failedWriteKeepsTheOldDocument();
    void metadataForms_data();
    void metadataForms();
    void bundleWithoutConfigurationIsNamed();

private:
    [[nodiscard]] static VMConfiguration make(const TemporaryHost &host, const QString &name)
    {
        auto configuration =
            VMConfiguration::defaultConfiguration(name, GuestOperatingSystem::windows11ARM64);
        configuration.storageDirectory = FileUrl::appendingDirectory(host.root(), name + u".vm"_s);
        return configuration;
    }
    [[nodiscard]] static QStringList scannedNames(const VMStorage &storage)
    {
        QStringList names;
        for (const VMConfiguration &configuration : storage.scanVirtualMachines())
            names.append(configuration.name);
        return names;
    }
};

void VMStorageTest::missingRootIsMadeAndEmpty()
{
    const TemporaryHost host;
    const VMStorage storage(FileUrl::appendingDirectory(host.root(), u"deeper/still"_s),
                            FileManager::defaultManager());
    QVERIFY(storage.scanVirtualMachines().isEmpty());
    QVERIFY(QDir(host.path(u"Virtual Machines/deeper/still"_s)).exists());
}

void VMStorageTest::scanFindsOnlyReadableBundles()
{
    const TemporaryHost host;
    const VMStorage storage(host.root(), FileManager::defaultManager());
    storage.save(make(host, u"good"_s), std::nullopt);
    const QByteArray document = host.read(u"Virtual Machines/good.vm/config.json"_s);
    for (const auto &folder : {u"Upper.VM"_s, u".hidden.vm"_s, u"no extension"_s})
        host.write(u"Virtual Machines/%1/config.json"_s.arg(folder), document);
    host.write(u"Virtual Machines/file.vm"_s, document);
    QCOMPARE(scannedNames(storage), QStringList{u"good"_s});
}

void VMStorageTest::scanSurvivesAHalfBrokenLibrary()
{
    const TemporaryHost host;
    const VMStorage storage(host.root(), FileManager::defaultManager());
    const auto documentOf = [](const QString &name) {
        return encodeConfiguration(
            VMConfiguration::defaultConfiguration(name, GuestOperatingSystem::windows11ARM64));
    };
    const QByteArray document = documentOf(u"broken"_s);
    const QByteArrayList brokenDocuments = {
        {},
        document.chopped(4),
        document + QByteArray(1024 * 1024, ' '),
        document + document,
        QByteArray(document).replace("\"cpuCount\"", "\"cpuCount\": 1e400, \"other\""),
        QByteArray(document).replace("\"id\"", "\"id\": 5, \"other\""),
        QByteArray(document).replace("broken", "\xff\xfe"),
        QByteArray(100'000, '['),
    };
    constexpr int pairs = 2500;
    for (int number = 0; number < pairs; ++number) {
        const QString good = u"Machine %1"_s.arg(number);
        host.write(u"Virtual Machines/%1.vm/config.json"_s.arg(good), documentOf(good));
        const QString broken = u"Virtual Machines/Broken %1.vm/config.json"_s.arg(number);
        const qsizetype kind = number % (brokenDocuments.size() + 3);
        if (kind < brokenDocuments.size()) {
            host.write(broken, brokenDocuments.at(kind));
            continue;
        }
        QVERIFY(QDir().mkpath(host.path(QFileInfo(broken).path())));
        if (kind == brokenDocuments.size())
            QVERIFY(QDir().mkpath(host.path(broken)));
        else if (kind == brokenDocuments.size() + 1)
            QCOMPARE(::mkfifo(qPrintable(host.path(broken)), 0600), 0);
        // else it has none at all
    }
    const QStringList names = scannedNames(storage);
    QCOMPARE(names.size(), pairs);
    QVERIFY(std::ranges::all_of(names, [](const QString &name) { return name.startsWith(u"Machine "_s); }));
}

void VMStorageTest::namesAreSortedForPeople()
{
    const TemporaryHost host;
    const VMStorage storage(host.root(), FileManager::defaultManager());
    for (const auto &name : {u"beta"_s, u"Alpha"_s, u"alpha"_s, u"Gamma"_s})
        storage.save(make(host, name), std::nullopt);
    const QStringList names = scannedNames(storage);
    QCOMPARE(names.mid(2), QStringList({u"beta"_s, u"Gamma"_s}));

    QStringList listing;
    for (const auto &entry : FileManager::defaultManager().contentsOfDirectory(FileUrl::path(host.root())))
        if (entry.name.toLower() == "alpha.vm"_L1)
            listing.append(entry.name.chopped(3));
    QCOMPARE(names.first(2), listing);
}

void VMStorageTest::savingWritesBothDocumentsForTheUserAlone()
{
    const TemporaryHost host;
    const VMStorage storage(host.root(), FileManager::defaultManager());
    VMConfiguration configuration = make(host, u"a"_s);
    configuration.modifiedAt = QDateTime({2020, 1, 1}, {0, 0}, Qt::UTC);
    const VMConfiguration before = configuration;
    storage.save(configuration, std::nullopt);
    QCOMPARE(configuration, before);

    const QList<VMConfiguration> read = storage.scanVirtualMachines();
    QCOMPARE(read.size(), 1);
    QVERIFY(read.first().modifiedAt > before.modifiedAt);
    const auto metadata =
        QJsonDocument::fromJson(host.read(u"Virtual Machines/a.vm/metadata.json"_s)).object();
    QCOMPARE(metadata, QJsonObject({{"version"_L1, 2}, {"installationState"_L1, "notStarted"_L1}}));

    for (const auto &[path, mode] : {std::pair(u"Virtual Machines/a.vm"_s, 0700),
                                     {u"Virtual Machines/a.vm/config.json"_s, 0600},
                                     {u"Virtual Machines/a.vm/metadata.json"_s, 0600}}) {
        struct stat status = {};
        QCOMPARE(::stat(qPrintable(host.path(path)), &status), 0);
        QCOMPARE(status.st_mode & 07777U, static_cast<mode_t>(mode));
    }
}

void VMStorageTest::failedWriteKeepsTheOldDocument()
{
    const TemporaryHost host;
    FailingFileManager files;
    const VMStorage storage(host.root(), files);
    VMConfiguration configuration = make(host, u"a"_s);
    storage.save(configuration, std::nullopt);
    const QByteArray config = host.read(u"Virtual Machines/a.vm/config.json"_s);
    const QByteArray metadata = host.read(u"Virtual Machines/a.vm/metadata.json"_s);

    files.writeError = ENOSPC;
    configuration.cpuCount = 7;
    VMPersistedMetadata changedMetadata;
    changedMetadata.notes = u"x"_s;
    QVERIFY(errorTextOf([&] { storage.save(configuration, changedMetadata); }).contains("No space left"_L1));
    QCOMPARE(host.read(u"Virtual Machines/a.vm/config.json"_s), config);
    QCOMPARE(host.read(u"Virtual Machines/a.vm/metadata.json"_s), metadata);
}

void VMStorageTest::metadataForms_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("outcome"); // version, state; or "refused"
    QTest::newRow("empty object") << QByteArray("{}") << u"1 notStarted"_s;
    QTest::newRow("version kept") << QByteArray(R"({"version":7,"installationState":"ready"})")
                                  << u"7 ready"_s;
    QTest::newRow("unknown state") << QByteArray(R"({"installationState":"Ready"})") << u"refused"_s;
    QTest::newRow("date with fraction")
        << QByteArray(R"({"lastBootedAt":"2025-03-01T10:15:00.1Z"})") << u"refused"_s;
    QTest::newRow("notes as a number") << QByteArray(R"({"notes":1})") << u"refused"_s;
    QTest::newRow("not JSON") << QByteArray("x") << u"refused"_s;
}

void VMStorageTest::metadataForms()
{
    QFETCH(const QByteArray, document);
    QFETCH(const QString, outcome);
    const TemporaryHost host;
    host.write(u"b.vm/metadata.json"_s, document);
    const VMStorage storage(host.root(), FileManager::defaultManager());
    const QUrl bundle = FileUrl::directory(host.path(u"b.vm"_s));
    QString actual = u"refused"_s;
    VMPersistedMetadata metadata;
    if (errorTextOf([&] { metadata = storage.loadMetadata(bundle); }).isNull()) {
        actual = QString::number(metadata.version) + u' ' + rawValue(metadata.installationState);
        QCOMPARE(decodeMetadata(encodeMetadata(metadata)), metadata);
    }
    QCOMPARE(actual, outcome);
}

void VMStorageTest::bundleWithoutConfigurationIsNamed()
{
    const TemporaryHost host;
    const VMStorage storage(host.root(), FileManager::defaultManager());
    const QUrl bundle = FileUrl::directory(host.path(u"none.vm"_s));
    QCOMPARE(errorTextOf([&] { (void)storage.loadConfiguration(bundle); }),
             u"Invalid virtual machine bundle at %1."_s.arg(host.path(u"none.vm"_s)));
    QCOMPARE(storage.loadMetadata(bundle), VMPersistedMetadata());
}

KELVO_TEST_MAIN(VMStorageTest)
#include "tst_vmstorage.moc"
