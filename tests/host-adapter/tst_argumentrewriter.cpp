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
    void tellsOptionsFromTheirValues_data();
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
    const QString network = u"virtio-net-pci,netdev=net0 > virtio-net-pci,netdev=net0,romfile="_s;
    const QString display = u"virtio-gpu-pci > ramfb"_s;
    QTest::newRow("emulated") << 8 << nothing << QStringList{processor, accelerator, tpm, network, display};
    QTest::newRow("hardware") << 8 << kvm << QStringList{u"hvf > kvm"_s, tpm, network, display};
    QTest::newRow("emulator with the device")
        << 8 << crb << QStringList{processor, accelerator, network, display};
    QTest::newRow("guest with a display driver")
        << 8 << HostOffer{.displayDriver = true} << QStringList{processor, accelerator, tpm, network};
    QTest::newRow("nine processors") << 9 << nothing
                                     << QStringList{u"virt,highmem=on > virt,gic-version=max,highmem=on"_s,
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

void ArgumentRewriterTest::tellsOptionsFromTheirValues_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("expected");
    const QString clock = u"-rtc base=localtime "_s;
    QTest::newRow("network with a ROM")
        << u"-device virtio-net-pci,romfile=a,mac=b -device virtio-net-pci,help"_s
        << u"-device virtio-net-pci,romfile=a,mac=b -device virtio-net-pci,help"_s;
    QTest::newRow("machine named like an option")
        << u"-rtc base=utc -name -accel hvf -accel hvf"_s << u"-rtc base=utc -name -accel hvf -accel tcg"_s;
    QTest::newRow("machine named like a value")
        << u"-name hvf -accel hvf"_s << clock + u"-name hvf -accel tcg"_s;
    QTest::newRow("option after one without a value") << u"-S -accel hvf"_s << clock + u"-S -accel tcg"_s;
    QTest::newRow("further parameters stay")
        << u"-accel hvf,thread=multi -cpu host,pmu=off -device virtio-gpu-pci,id=a"_s
        << clock + u"-accel tcg,thread=multi -cpu max,pauth=off,pmu=off -device virtio-gpu-pci,id=a"_s;
    QTest::newRow("questions pass") << u"-device tpm-crb-device,help -machine virt,help -smp 9"_s
                                    << u"-device tpm-crb-device,help -machine virt,help -smp 9"_s;
    QTest::newRow("version given") << u"-machine virt,gic-version=3 -smp 9"_s
                                   << u"-machine virt,gic-version=3 -smp 9"_s;
    QTest::newRow("absurd count") << u"-machine virt -smp 99999999999999999999"_s
                                  << u"-machine virt -smp 99999999999999999999"_s;
}

void ArgumentRewriterTest::tellsOptionsFromTheirValues()
{
    QFETCH(const QString, given);
    Arguments arguments;
    for (const QString &argument : given.split(u' '))
        arguments.push_back(argument.toStdString());
    QStringList rewritten;
    for (const std::string &argument : ArgumentRewriter(arguments).rewritten(nothing))
        rewritten.append(QString::fromStdString(argument));
    QTEST(rewritten.join(u' '), "expected");
}

KELVO_TEST_MAIN(ArgumentRewriterTest)
#include "tst_argumentrewriter.moc"
