#include "ArgumentRewriter.h"
#include "Platform/FileUrl.h"
#include "Virtualization/QEMU/QEMUCommandBuilder.h"
#include "Virtualization/QEMU/QEMURuntimePaths.h"
#include "support/TestMain.h"

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(HostOffer)

namespace {

using Arguments = std::vector<std::string>;

constexpr HostOffer nothing{};
constexpr HostOffer kvm{.hardwareAcceleration = true};
constexpr HostOffer crb{.tpmCrbDevice = true};

/// As Kelvo starts a machine.
Arguments machineArguments(qint64 processors)
{
    auto machine =
        VMConfiguration::defaultConfiguration(u"Windows 11"_s, GuestOperatingSystem::windows11ARM64);
    machine.cpuCount = processors;
    QEMUDependencies dependencies;
    dependencies.uefiCode = FileUrl::file(u"/opt/code.fd"_s);
    const QEMURuntimePaths paths = QEMURuntimePaths::forConfiguration(machine);
    Arguments arguments;
    for (const QString &argument : QEMUCommandBuilder(dependencies)
                                       .buildArguments(machine, VMBuildMode::normalBoot, std::nullopt,
                                                       paths.uefiVars, paths.tpmSocket, paths.qmpSocket))
        arguments.push_back(argument.toStdString());
    return arguments;
}

} // namespace

class ArgumentRewriterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changesOnlyWhatTheHostLacks_data();
    void changesOnlyWhatTheHostLacks();
    void tellsOptionsFromTheirValues();
};

void ArgumentRewriterTest::changesOnlyWhatTheHostLacks_data()
{
    QTest::addColumn<int>("processors");
    QTest::addColumn<HostOffer>("offer");
    QTest::addColumn<QStringList>("changes");
    const QString processor = u"host > max,pauth=off"_s;
    const QString accelerator = u"hvf > tcg"_s;
    const QString tpm = u"tpm-crb-device,tpmdev=tpm0 > tpm-tis-device,tpmdev=tpm0"_s;
    const QString network = u"virtio-net-pci,netdev=net0 > virtio-net-pci,romfile=,netdev=net0"_s;
    const QString display = u"virtio-gpu-pci > ramfb"_s;
    QTest::newRow("emulated") << 8 << nothing << QStringList{processor, accelerator, tpm, network, display};
    QTest::newRow("hardware") << 8 << kvm << QStringList{u"hvf > kvm"_s, tpm, network, display};
    QTest::newRow("emulator with the device")
        << 8 << crb << QStringList{processor, accelerator, network, display};
    QTest::newRow("guest with a display driver")
        << 8 << HostOffer{.displayDriver = true} << QStringList{processor, accelerator, tpm, network};
    QTest::newRow("nine processors") << 9 << nothing
                                     << QStringList{u"virt,highmem=on > virt,highmem=on,gic-version=max"_s,
                                                    processor,
                                                    accelerator,
                                                    tpm,
                                                    network,
                                                    display};
}

void ArgumentRewriterTest::changesOnlyWhatTheHostLacks()
{
    QFETCH(const int, processors);
    QFETCH(const HostOffer, offer);
    const Arguments given = machineArguments(processors);
    Arguments rewritten = ArgumentRewriter(given).rewritten(offer);
    QCOMPARE(rewritten.size(), given.size() + 2);
    QVERIFY(rewritten[0] == "-rtc" && rewritten[1] == "base=localtime");
    rewritten.erase(rewritten.begin(), rewritten.begin() + 2);
    QStringList changes;
    for (std::size_t i = 0; i < given.size(); ++i)
        if (rewritten[i] != given[i])
            changes.append(QString::fromStdString(given[i] + " > " + rewritten[i]));
    QTEST(changes, "changes");
}

void ArgumentRewriterTest::tellsOptionsFromTheirValues()
{
    const Arguments named{"-name", "-accel", "-serial", "file:hvf", "-accel", "hvf"};
    QVERIFY((ArgumentRewriter(named).rewritten(nothing) ==
             Arguments{"-rtc", "base=localtime", "-name", "-accel", "-serial", "file:hvf", "-accel", "tcg"}));
    for (const Arguments &question : {Arguments{"-version"},
                                      {"-device", "tpm-crb-device,help"},
                                      {"-accel", "help"},
                                      {"-S", "-cpu", "host"},
                                      {}}) {
        QVERIFY(!ArgumentRewriter(question).startsGuest());
        QVERIFY(ArgumentRewriter(question).rewritten(nothing) == question);
    }
}

KELVO_TEST_MAIN(ArgumentRewriterTest)
#include "tst_argumentrewriter.moc"
