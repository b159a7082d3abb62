#include "Models/VMConfiguration.h"
#include "Models/VMConfigurationCoding.h"
#include "Models/VMConfigurationValidator.h"
#include "Platform/FileUrl.h"
#include "support/Expectations.h"
#include "support/TestMain.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace {

constexpr quint64 gibibyte = quint64(1) << 30;

VMConfiguration sample()
{
    VMConfiguration configuration =
        VMConfiguration::defaultConfiguration(u"Büro 50 % #1, „neu“"_s, GuestOperatingSystem::windows11ARM64);
    configuration.createdAt = QDateTime({2025, 3, 1}, {10, 15}, QTimeZone::utc());
    configuration.modifiedAt = QDateTime({2025, 3, 2}, {23, 59, 59}, QTimeZone::utc());
    return configuration;
}

QByteArray minimalDocument()
{
    return R"({"id":"0B6E1F0C-6D2C-4B6B-9B0C-0123456789ab","name":"A","guestOS":"Linux ARM64","cpuCount":2,
"memorySizeBytes":1,"diskSizeBytes":2,"networkMode":"Disconnected","storageDirectory":"file:///a%20b/A.vm/"})";
}

QByteArray changed(const char *key, const QJsonValue &value)
{
    QJsonObject object = QJsonDocument::fromJson(minimalDocument()).object();
    if (value.isUndefined())
        object.remove(QLatin1StringView(key));
    else
        object.insert(QLatin1StringView(key), value);
    return QJsonDocument(object).toJson();
}

} // namespace

class VMConfigurationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writtenRecordReadsBackEqual();
    void writtenFormIsExact();
    void absentOptionalKeysFallBack();
    void faultyDocumentsAreRefused_data();
    void faultyDocumentsAreRefused();
    void numbersBeyondJsonAreNotWritten();
    void bundleIsOneVisibleFolder();
    void validatorNamesTheFirstFault();
    void hypervisorGuestsAreBoundByTheHost();
};

void VMConfigurationTest::writtenRecordReadsBackEqual()
{
    VMConfiguration configuration = sample();
    configuration.installationMediaPath = u"/media/ä, \"x\"\\/\\\\//.iso"_s;
    configuration.installationMediaType = InstallationMediaType::iso;
    configuration.virtioDriversMediaPath = QString(u""_s);
    configuration.memorySizeBytes = (quint64(1) << 62) + 1; // more digits than a double holds
    configuration.displayScaling = 1.1;
    QCOMPARE(decodeConfiguration(encodeConfiguration(configuration)), configuration);
}

void VMConfigurationTest::writtenFormIsExact()
{
    const QByteArray document = encodeConfiguration(sample());
    const QJsonObject object = QJsonDocument::fromJson(document).object();
    const QString id = object["id"_L1].toString();
    QCOMPARE(id, id.toUpper());
    QCOMPARE(id.size(), 36);
    QCOMPARE(object["createdAt"_L1].toString(), u"2025-03-01T10:15:00Z"_s);
    QCOMPARE(object["backend"_L1].toString(), u"QEMU (HVF)"_s);
    const QString folder = object["storageDirectory"_L1].toString();
    QVERIFY(folder.startsWith("file:///"_L1));
    QVERIFY(folder.endsWith("50%20%25%20%231,%20%E2%80%9Eneu%E2%80%9C.vm/"_L1));
    QVERIFY(document.contains("\"file:\\/\\/\\/"));
    QVERIFY(!document.contains("MediaPath") && !document.contains("MediaType"));
}

void VMConfigurationTest::absentOptionalKeysFallBack()
{
    const VMConfiguration configuration = decodeConfiguration(minimalDocument());
    QCOMPARE(configuration.backend, VMBackendType::appleVirtualization);
    QCOMPARE(FileUrl::path(configuration.diskURL()), u"/a b/A.vm/disk.img"_s);
    QCOMPARE(configuration.efiVariableStoreFileName, u"efi_vars.bin"_s);
    QCOMPARE(configuration.machineIdentifierFileName, u"machine_id.bin"_s);
    QVERIFY(!configuration.installationMediaURL());
    QCOMPARE(configuration.displayWidth, 1920);
    QCOMPARE(configuration.displayScaling, 1.0);
    QCOMPARE(configuration.vncPort, 5912); // must never change: it is the machine's port on every host
    QVERIFY(configuration.createdAt.secsTo(QDateTime::currentDateTimeUtc()) < 60);
    QCOMPARE(decodeConfiguration(changed("guestOS", u"Windows 11 ARM64"_s)).backend, VMBackendType::qemuHVF);
    // A key of a later version is passed over.
    QCOMPARE(decodeConfiguration(changed("future", QJsonObject())).name, u"A"_s);
}

void VMConfigurationTest::faultyDocumentsAreRefused_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("array") << QByteArray("[]");
    QTest::newRow("cut") << minimalDocument().chopped(1);
    QTest::newRow("invalid UTF-8") << minimalDocument().replace("\"A\"", "\"\xff\"");
    QTest::newRow("deep") << QByteArray("{\"a\":").repeated(100'000);
    QTest::newRow("infinite") << minimalDocument().replace("\"cpuCount\":",
                                                           "\"displayScaling\":1e999,\"cpuCount\":");
    QTest::newRow("bytes above 2^63")
        << minimalDocument().replace("\"diskSizeBytes\":2", "\"diskSizeBytes\":9223372036854775808");
    for (const char *key : {"id", "name", "guestOS", "cpuCount", "memorySizeBytes", "diskSizeBytes",
                            "networkMode", "storageDirectory"})
        QTest::addRow("without %s", key) << changed(key, QJsonValue::Undefined);
    const std::pair<const char *, QJsonValue> faults[] = {
        {"guestOS", u"Windows 11"_s},
        {"backend", u"qemu"_s},
        {"vncPort", QJsonValue::Null},
        {"cpuCount", u"4"_s},
        {"cpuCount", 2.5},
        {"memorySizeBytes", -1},
        {"name", 1},
        {"id", u"{0B6E1F0C-6D2C-4B6B-9B0C-0123456789ab}"_s},
        {"id", u"0B6E1F0C-6D2C-4B6B-9B0C-0123456789ag"_s},
        {"createdAt", u"2025-03-01T10:15:00+01:00"_s},
        {"createdAt", u"2025-02-30T10:15:00Z"_s},
        {"storageDirectory", u"/a/A.vm/"_s},
        {"storageDirectory", u"https://example.org/A.vm/"_s},
        {"storageDirectory", u"file://elsewhere/A.vm/"_s},
        {"storageDirectory", u"file:///a%00/A.vm/"_s},
        {"diskFileName", u"../../.bashrc"_s},
        {"diskFileName", u"."_s},
    };
    for (const auto &[key, value] : faults)
        QTest::addRow("%s: %s", key, qPrintable(value.toVariant().toString())) << changed(key, value);
}

void VMConfigurationTest::faultyDocumentsAreRefused()
{
    QFETCH(const QByteArray, document);
    QCOMPARE(errorTextOf([&] { (void)decodeConfiguration(document); }),
             u"Could not read virtual machine configuration."_s);
}

void VMConfigurationTest::numbersBeyondJsonAreNotWritten()
{
    VMConfiguration configuration = sample();
    configuration.displayScaling = qQNaN();
    QVERIFY(!errorTextOf([&] { (void)encodeConfiguration(configuration); }).isNull());
    configuration = sample();
    configuration.diskSizeBytes = quint64(1) << 63;
    QVERIFY(!errorTextOf([&] { (void)encodeConfiguration(configuration); }).isNull());
}

void VMConfigurationTest::bundleIsOneVisibleFolder()
{
    const QList<std::pair<QString, QString>> foldersOfNames = {
        {u" a, \"b\" "_s, u" a, \"b\" .vm"_s},
        {u"a/b/../c"_s, u"a_b_.._c.vm"_s},
        {u".."_s, u"_..vm"_s},
        {QString(300, u'x'), QString(252, u'x') + u".vm"_s},
        {u"😀"_s.repeated(100), u"😀"_s.repeated(63) + u".vm"_s},
    };
    for (const auto &[name, folder] : foldersOfNames) {
        const auto made = VMConfiguration::defaultConfiguration(name, GuestOperatingSystem::linuxARM64);
        QCOMPARE(made.name, name);
        QCOMPARE(FileUrl::deletingLastComponent(made.storageDirectory),
                 VMConfiguration::defaultStorageRoot());
        QCOMPARE(FileUrl::lastComponent(made.storageDirectory), folder);
    }
}

void VMConfigurationTest::validatorNamesTheFirstFault()
{
    struct Case
    {
        QString name;
        qint64 cpus;
        quint64 memory;
        quint64 disk;
        QString text;
    };
    const std::initializer_list<Case> cases = {
        {u" \n\t "_s, 0, 0, 0, u"Virtual machine name cannot be empty."_s},
        {u"x"_s, 1, 0, 0, u"CPU count 1 is invalid. Allowed range: 2–16 cores."_s},
        {u"x"_s, 2, 2 * gibibyte, 0, u"Memory 2 GB is invalid. Allowed range: 4–128 GB."_s},
        {u"x"_s, 2, 4 * gibibyte, gibibyte - 1, u"Virtual disk size is invalid."_s},
        {u" x "_s, 2, 4 * gibibyte, gibibyte, QString()},
        {u"x"_s, 64, 1024 * gibibyte, gibibyte, QString()}, // there are no upper limits
    };
    for (const Case &given : cases) {
        VMConfiguration configuration = sample();
        configuration.name = given.name;
        configuration.cpuCount = given.cpus;
        configuration.memorySizeBytes = given.memory;
        configuration.diskSizeBytes = given.disk;
        QCOMPARE(errorTextOf([&] { VMConfigurationValidator::validate(configuration); }), given.text);
    }
}

void VMConfigurationTest::hypervisorGuestsAreBoundByTheHost()
{
    VMConfiguration configuration = sample();
    const auto fault = [&] {
        return errorTextOf([&] { VMConfigurationValidator::validate(configuration); });
    };
    configuration.backend = VMBackendType::appleVirtualization;
    configuration.cpuCount = VMConfigurationValidator::allowedCPUCountRange().maximum;
    configuration.memorySizeBytes = VMConfigurationValidator::allowedMemoryRange().minimum;
    QCOMPARE(fault(), QString());
    ++configuration.cpuCount;
    QVERIFY(fault().startsWith("CPU count "_L1));
    --configuration.cpuCount;
    --configuration.memorySizeBytes;
    QVERIFY(fault().startsWith("Memory "_L1));
}

KELVO_TEST_MAIN(VMConfigurationTest)
#include "tst_vmconfiguration.moc"
