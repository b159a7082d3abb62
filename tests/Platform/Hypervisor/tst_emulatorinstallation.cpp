#include "Platform/Emulator/EmulatorAnswer.h"
#include "Platform/Emulator/ProcessorKinds.h"
#include "Platform/FileManager.h"
#include "Platform/Hypervisor/EmulatorInstallation.h"
#include "Platform/Hypervisor/VZEFIVariableStore.h"
#include "Platform/Hypervisor/VZVirtualMachineConfiguration.h"
#include "support/TestMain.h"

#include <QDir>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A host with an emulator, the distribution's usual firmware and what a test puts there.
class Host : public FileManager
{
public:
    Host()
    {
        write(u"/usr/bin/qemu-system-aarch64"_s, "");
        addFirmware(u"AAVMF_CODE.fd"_s);
    }

    void write(const QString &path, const QByteArray &bytes) const
    {
        QDir().mkpath(QFileInfo(inside(path)).path());
        QFile file(inside(path));
        QVERIFY(file.open(QFile::WriteOnly) && file.write(bytes) == bytes.size());
    }
    void addFirmware(const QString &name) const
    {
        write(u"/usr/share/AAVMF/"_s + name, "");
        QVERIFY(QFile::resize(inside(u"/usr/share/AAVMF/"_s + name), VZEFIVariableStore::sizeBytes));
    }
    /// Of a build with these features, as a JSON array.
    void describe(const QString &name, const QString &image, const QByteArray &features) const
    {
        addFirmware(image);
        write(
            u"/usr/share/qemu/firmware/"_s + name,
            R"({"mapping": {"device": "flash", "executable": {"format": "raw", "filename": "/usr/share/AAVMF/)" +
                image.toUtf8() +
                R"("}}, "targets": [{"architecture": "aarch64", "machines": ["virt-*"]}], "features": )" +
                features + '}');
    }

    [[nodiscard]] bool isExecutableFile(const QString &path) const override { return fileExists(path); }
    [[nodiscard]] bool fileExists(const QString &path) const override
    {
        return FileManager::fileExists(inside(path));
    }
    [[nodiscard]] bool directoryExists(const QString &path) const override
    {
        return FileManager::directoryExists(inside(path));
    }
    [[nodiscard]] QList<DirectoryEntry> contentsOfDirectory(const QString &path) const override
    {
        return FileManager::contentsOfDirectory(inside(path));
    }
    [[nodiscard]] QByteArray readFile(const QString &path, qint64 maximumBytes) const override
    {
        return FileManager::readFile(inside(path), maximumBytes);
    }
    [[nodiscard]] FileSizes fileSizes(const QString &path) const override
    {
        return FileManager::fileSizes(inside(path));
    }

    [[nodiscard]] QString inside(const QString &path) const { return m_folder.path() + path; }

private:
    QTemporaryDir m_folder;
};

} // namespace

class EmulatorInstallationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void choosesFirmwareThatBootsAnything();
    void believesOnlyWholeAnswers();
    void tellsKindsOfProcessorsApart_data();
    void tellsKindsOfProcessorsApart();
};

void EmulatorInstallationTest::choosesFirmwareThatBootsAnything()
{
    const auto chosen = [](const Host &host) {
        return EmulatorInstallation::find(host)
            .value_or(EmulatorInstallation())
            .firmwareCode.section(u'/', -1);
    };
    Host host;
    QCOMPARE(chosen(host), u"AAVMF_CODE.fd"_s);
    host.describe(u"40-keys.json"_s, u"keys.fd"_s, R"(["enrolled-keys", "secure-boot"])");
    host.describe(u"50-secure.json"_s, u"secure.fd"_s, R"(["secure-boot"])");
    host.write(u"/usr/share/qemu/firmware/55-broken.json"_s, "{");
    QCOMPARE(chosen(host), u"AAVMF_CODE.fd"_s);
    host.describe(u"70-later.json"_s, u"later.fd"_s, "[]");
    host.describe(u"60-plain.json"_s, u"plain.fd"_s, R"(["verbose-static"])");
    QCOMPARE(chosen(host), u"plain.fd"_s);
}

void EmulatorInstallationTest::believesOnlyWholeAnswers()
{
    const auto answer = [](const char *script, std::chrono::milliseconds timeout = 60s) {
        return emulatorAnswer("/bin/sh", {"-c", script}, timeout);
    };
    QCOMPARE(answer("echo one; echo other >&2; sleep 0.1; echo two"),
             std::optional<std::string>("one\ntwo\n"));
    QCOMPARE(answer("exit 1"), std::optional<std::string>(""));
    QCOMPARE(answer("echo begun; exec sleep 60", 100ms), std::nullopt);
    QCOMPARE(answer("yes"), std::nullopt);
    QCOMPARE(emulatorAnswer("/no/such/emulator", {}), std::nullopt);

    const auto widest = [](const char *version) {
        return VZVirtualMachineConfiguration::maximumScanout(EmulatorInstallation::versionIn(version))
            .widthInPixels;
    };
    QCOMPARE(widest("QEMU emulator version 7.2.22 (Debian 1:7.2+dfsg-7+deb12u18)\nCopyright"), 2560);
    QCOMPARE(widest("QEMU emulator version 9.0.2"), 2560);
    QCOMPARE(widest("QEMU emulator version 9.1.0"), 5120);
    QCOMPARE(widest("QEMU emulator version 10.0.2 (Debian 1:10.0.2+ds-2)"), 5120);
    QCOMPARE(EmulatorInstallation::versionIn("no such option"), std::nullopt);
    QTRY_VERIFY_WITH_TIMEOUT(EmulatorInstallation::version() || !EmulatorInstallation::find(), patience);
}

void EmulatorInstallationTest::tellsKindsOfProcessorsApart_data()
{
    QTest::addColumn<QStringList>("processors"); // identity and capacity, where they have them
    QTest::addColumn<QList<int>>("strongest");
    const auto row = [](const char *name, const QStringList &processors, const QList<int> &strongest) {
        QTest::newRow(name) << processors << strongest;
    };
    const QString small = u"0x00000000410fd034 446"_s;
    const QString big = u"0x00000000410fd083 1024"_s;
    row("two kinds", {small, small, big, big}, {2, 3});
    row("three kinds", {small, big, u"0x00000000410fd4d0 871"_s, big, small}, {1, 3});
    row("another revision", {big, u"0x00000000411fd084 1024"_s}, {});
    row("no capacities", {u"0x410fd034"_s, u"0x410fd034"_s, u"0x410fd083"_s}, {0, 1});
    row("an offline one", {small, QString(), big}, {2});
    row("nothing known", {QString(), QString()}, {});
}

void EmulatorInstallationTest::tellsKindsOfProcessorsApart()
{
    const Host host;
    QFETCH(const QStringList, processors);
    host.write(u"/cpu/cpufreq/boost"_s, "1");
    for (qsizetype number = 0; number < processors.size(); ++number) {
        const QString folder = u"/cpu/cpu%1/"_s.arg(number);
        const QStringList facts = processors[number].split(u' ', Qt::SkipEmptyParts);
        host.write(folder + u"online"_s, facts.isEmpty() ? "0" : "1");
        if (!facts.isEmpty())
            host.write(folder + u"regs/identification/midr_el1"_s, facts.first().toUtf8() + '\n');
        if (facts.size() > 1)
            host.write(folder + u"cpu_capacity"_s, facts.last().toUtf8() + '\n');
    }
    const std::vector<int> found = ProcessorKinds::strongest(host.inside(u"/cpu"_s).toStdString());
    QTEST(QList<int>(found.begin(), found.end()), "strongest");

    cpu_set_t before{};
    QCOMPARE(::sched_getaffinity(0, sizeof before, &before), 0);
    int mine = 0;
    while (!CPU_ISSET(mine, &before))
        ++mine;
    cpu_set_t during{};
    {
        const ProcessorKinds::StrongestOnly limit({CPU_SETSIZE, mine});
        QCOMPARE(::sched_getaffinity(0, sizeof during, &during), 0);
        QVERIFY(CPU_COUNT(&during) == 1 && CPU_ISSET(mine, &during));
    }
    QCOMPARE(::sched_getaffinity(0, sizeof during, &during), 0);
    QVERIFY(CPU_EQUAL(&before, &during));
}

KELVO_TEST_MAIN(EmulatorInstallationTest)
#include "tst_emulatorinstallation.moc"
