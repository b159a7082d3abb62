#include "Models/VMConfiguration.h"
#include "Models/VMConfigurationCoding.h"
#include "Models/VMConfigurationValidator.h"
#include "Platform/FileUrl.h"
#include "support/Expectations.h"
#include "support/TestMain.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

constexpr quint64 gibibyte = quint64(1) << 30;

VMConfiguration sample()
{
    VMConfiguration configuration =
        VMConfiguration::defaultConfiguration(u"Büro 50 % #1, „neu“"_s, GuestOperatingSystem::windows11ARM64);
    configuration.createdAt = QDateTime({2025, 3, 1}, {10, 15}, Qt::UTC);
    configuration.modifiedAt = QDateTime({2025, 3, 2}, {23, 59, 59}, Qt::UTC);
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
    void portIsStableAndInRange();
    void bundleIsOneVisibleFolder_data();
    void bundleIsOneVisibleFolder();
    void validatorNamesTheFirstFault_data();
    void validatorNamesTheFirstFault();
    void hypervisorGuestsAreBoundByTheHost();
    void displayNumberNeverIsNegative();
};

void VMConfigurationTest::writtenRecordReadsBackEqual()
{
    VMConfiguration configuration = sample();
    QCOMPARE(decodeConfiguration(encodeConfiguration(configuration)), configuration);

    configuration.installationMediaPath = u"/media/ä, \"x\"\\/\\\\//.iso"_s;
    configuration.installationMediaType = InstallationMediaType::iso;
    configuration.virtioDriversMediaPath = QString(u""_s);
    configuration.memorySizeBytes = (quint64(1) << 62) + 1; // more digits than a double holds
    configuration.displayScaling = 1.1;
    QCOMPARE(decodeConfiguration(encodeConfiguration(configuration)), configuration);
}

void VMConfigurationTest::writtenFormIsExact()
{
    const VMConfiguration configuration = sample();
    const QByteArray document = encodeConfiguration(configuration);
    const QJsonObject object = QJsonDocument::fromJson(document).object();
    const QString id = object["id"_L1].toString();
    QCOMPARE(id, id.toUpper());
    QCOMPARE(id.size(), 36);
    QCOMPARE(object["createdAt"_L1].toString(), u"2025-03-01T10:15:00Z"_s);
    QCOMPARE(object["backend"_L1].toString(), u"QEMU (HVF)"_s);
    QVERIFY(object["storageDirectory"_L1].toString().startsWith("file:///"_L1));
    QVERIFY(
        object["storageDirectory"_L1].toString().endsWith("50%20%25%20%231,%20%E2%80%9Eneu%E2%80%9C.vm/"_L1));
    QVERIFY(document.contains("\"file:\\/\\/\\/"));
    QVERIFY(!document.contains("MediaPath") && !document.contains("MediaType"));
    QVERIFY(document.indexOf("\"backend\"") < document.indexOf("\"vncPort\""));
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
    QCOMPARE(configuration.displayHeight, 1080);
    QCOMPARE(configuration.displayScaling, 1.0);
    QCOMPARE(configuration.vncPort, VMConfiguration::defaultVNCPort(configuration.id));
    QVERIFY(configuration.createdAt.secsTo(QDateTime::currentDateTimeUtc()) < 60);
    QCOMPARE(decodeConfiguration(changed("guestOS", u"Windows 11 ARM64"_s)).backend, VMBackendType::qemuHVF);
    // A key of a later version is passed over.
    VMConfiguration later = decodeConfiguration(changed("future", QJsonObject()));
    later.createdAt = configuration.createdAt;
    later.modifiedAt = configuration.modifiedAt;
    QCOMPARE(later, configuration);
}

void VMConfigurationTest::faultyDocumentsAreRefused_data()
{
    QTest::addColumn<QByteArray>("document");
    const auto row = [](const char *name, const QByteArray &document) {
        QTest::newRow(name) << document;
    };
    row("nothing", "");
    row("an array", "[]");
    row("cut", minimalDocument().chopped(1));
    row("invalid UTF-8", minimalDocument().replace("\"A\"", "\"\xff\""));
    row("deep", QByteArray("{\"a\":").repeated(100'000));
    for (const char *key : {"id", "name", "guestOS", "cpuCount", "memorySizeBytes", "diskSizeBytes",
                            "networkMode", "storageDirectory"})
        row(qPrintable(u"without %1"_s.arg(QLatin1StringView(key))), changed(key, QJsonValue::Undefined));
    row("unknown guest", changed("guestOS", u"Windows 11"_s));
    row("unknown backend", changed("backend", u"qemu"_s));
    row("unknown media type", changed("installationMediaType", u"ISO"_s));
    row("null for an optional", changed("vncPort", QJsonValue::Null));
    row("text for a number", changed("cpuCount", u"4"_s));
    row("fraction for a count", changed("cpuCount", 2.5));
    row("negative bytes", changed("memorySizeBytes", -1));
    row("bytes above 2^63",
        minimalDocument().replace("\"diskSizeBytes\":2", "\"diskSizeBytes\":9223372036854775808"));
    row("infinite number",
        minimalDocument().replace("\"cpuCount\":2", "\"cpuCount\":2,\"displayScaling\":1e999"));
    row("number for a name", changed("name", 1));
    row("id in braces", changed("id", u"{0B6E1F0C-6D2C-4B6B-9B0C-0123456789ab}"_s));
    row("id with a letter too far", changed("id", u"0B6E1F0C-6D2C-4B6B-9B0C-0123456789ag"_s));
    row("date with a fraction", changed("createdAt", u"2025-03-01T10:15:00.5Z"_s));
    row("date without a zone", changed("createdAt", u"2025-03-01T10:15:00"_s));
    row("date with an offset", changed("createdAt", u"2025-03-01T10:15:00+01:00"_s));
    row("30 February", changed("createdAt", u"2025-02-30T10:15:00Z"_s));
    row("folder as a plain path", changed("storageDirectory", u"/a/A.vm/"_s));
    row("folder on the web", changed("storageDirectory", u"https://example.org/A.vm/"_s));
    row("folder on another host", changed("storageDirectory", u"file://elsewhere/A.vm/"_s));
    row("folder with NUL", changed("storageDirectory", u"file:///a%00/A.vm/"_s));
    row("disk outside the bundle", changed("diskFileName", u"../../.bashrc"_s));
    row("disk that is the bundle", changed("diskFileName", u"."_s));
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

void VMConfigurationTest::portIsStableAndInRange()
{
    // The value must never change: it is what a bundle without a stored port gets on every host.
    QCOMPARE(VMConfiguration::defaultVNCPort(QUuid::fromString(u"00000000-0000-0000-0000-000000000000"_s)),
             5966);
    QSet<qint64> ports;
    for (int count = 0; count < 5000; ++count) {
        const qint64 port = VMConfiguration::defaultVNCPort(QUuid::createUuid());
        QVERIFY(port >= 5901 && port <= 6000);
        ports.insert(port);
    }
    QCOMPARE(ports.size(), 100);
}

void VMConfigurationTest::bundleIsOneVisibleFolder_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("folder");
    QTest::newRow("plain") << u"Windows 11"_s << u"Windows 11.vm"_s;
    QTest::newRow("slashes") << u"a/b/../c"_s << u"a_b_.._c.vm"_s;
    QTest::newRow("parent") << u".."_s << u"_..vm"_s;
    QTest::newRow("hidden") << u".secret"_s << u"_secret.vm"_s;
    QTest::newRow("blanks stay") << u"  x "_s << u"  x .vm"_s;
    QTest::newRow("comma and quotes stay") << u"a, \"b\""_s << u"a, \"b\".vm"_s;
    QTest::newRow("too long") << QString(300, u'x') << QString(252, u'x') + u".vm"_s;
    QTest::newRow("too long, four bytes each") << u"😀"_s.repeated(100) << u"😀"_s.repeated(63) + u".vm"_s;
}

void VMConfigurationTest::bundleIsOneVisibleFolder()
{
    QFETCH(const QString, name);
    QFETCH(const QString, folder);
    QCOMPARE(VMConfiguration::bundleFolderName(name), folder);
    const auto configuration = VMConfiguration::defaultConfiguration(name, GuestOperatingSystem::linuxARM64);
    QCOMPARE(configuration.name, name);
    QCOMPARE(FileUrl::deletingLastComponent(configuration.storageDirectory),
             VMConfiguration::defaultStorageRoot());
    QCOMPARE(FileUrl::lastComponent(configuration.storageDirectory), folder);
}

void VMConfigurationTest::validatorNamesTheFirstFault_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<qint64>("cpus");
    QTest::addColumn<quint64>("memory");
    QTest::addColumn<quint64>("disk");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *title, const QString &name, qint64 cpus, quint64 memory, quint64 disk,
                        const QString &text) {
        QTest::newRow(title) << name << cpus << memory << disk << text;
    };
    const QString name = u"x"_s;
    row("blank name first", u" \n\t "_s, 0, 0, 0, u"Virtual machine name cannot be empty."_s);
    row("one processor", name, 1, 0, 0, u"CPU count 1 is invalid. Allowed range: 2–16 cores."_s);
    row("2 GiB", name, 2, 2 * gibibyte, 0, u"Memory 2 GB is invalid. Allowed range: 4–128 GB."_s);
    row("small disk", name, 2, 4 * gibibyte, gibibyte - 1, u"Virtual disk size is invalid."_s);
    row("the least of all", u" x "_s, 2, 4 * gibibyte, gibibyte, QString());
    row("no upper limits", name, 64, 1024 * gibibyte, gibibyte, QString());
}

void VMConfigurationTest::validatorNamesTheFirstFault()
{
    QFETCH(const QString, text);
    QFETCH(const QString, name);
    VMConfiguration configuration = sample();
    configuration.name = name;
    configuration.cpuCount = *static_cast<qint64 *>(QTest::qData("cpus", QMetaType::LongLong));
    configuration.memorySizeBytes = *static_cast<quint64 *>(QTest::qData("memory", QMetaType::ULongLong));
    configuration.diskSizeBytes = *static_cast<quint64 *>(QTest::qData("disk", QMetaType::ULongLong));
    QCOMPARE(errorTextOf([&] { VMConfigurationValidator::validate(configuration); }), text);
}

void VMConfigurationTest::hypervisorGuestsAreBoundByTheHost()
{
    VMConfiguration configuration = sample();
    configuration.backend = VMBackendType::appleVirtualization;
    configuration.cpuCount = VMConfigurationValidator::allowedCPUCountRange().maximum;
    configuration.memorySizeBytes = VMConfigurationValidator::allowedMemoryRange().minimum;
    QCOMPARE(errorTextOf([&] { VMConfigurationValidator::validate(configuration); }), QString());
    ++configuration.cpuCount;
    QVERIFY(
        errorTextOf([&] { VMConfigurationValidator::validate(configuration); }).startsWith("CPU count "_L1));
    --configuration.cpuCount;
    --configuration.memorySizeBytes;
    QVERIFY(errorTextOf([&] { VMConfigurationValidator::validate(configuration); }).startsWith("Memory "_L1));
}

void VMConfigurationTest::displayNumberNeverIsNegative()
{
    VMConfiguration configuration = sample();
    for (const auto &[port, number] : {std::pair(5905, 5), {5901, 1}, {5900, 0}, {80, 0}, {-5, 0}}) {
        configuration.vncPort = port;
        QCOMPARE(configuration.vncDisplayNumber(), number);
    }
}

KELVO_TEST_MAIN(VMConfigurationTest)
#include "tst_vmconfiguration.moc"
