#include "ArgumentRewriter.h"
#include "Platform/FileUrl.h"
#include "Virtualization/QEMU/QEMUCommandBuilder.h"
#include "Virtualization/QEMU/QEMURuntimePaths.h"
#include "support/TestMain.h"

using namespace Qt::StringLiterals;

namespace {

using Arguments = std::vector<std::string>;

constexpr HostOffer nothing{};

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
    void changesOnlyWhatTheHostLacks();
    void tellsOptionsFromTheirValues();
};

void ArgumentRewriterTest::changesOnlyWhatTheHostLacks()
{
    const QString processor = u"host > max,pauth=off"_s;
    const QString accelerator = u"hvf > tcg"_s;
    const QString tpm = u"tpm-crb-device,tpmdev=tpm0 > tpm-tis-device,tpmdev=tpm0"_s;
    const QString network = u"virtio-net-pci,netdev=net0 > virtio-net-pci,romfile=,netdev=net0"_s;
    const QString display = u"virtio-gpu-pci > ramfb"_s;
    const QString interrupts = u"virt,highmem=on > virt,highmem=on,gic-version=max"_s;
    const HostOffer kvm{.hardwareAcceleration = true};
    const HostOffer crb{.tpmCrbDevice = true};
    const HostOffer driver{.displayDriver = true};
    for (const auto &[processors, offer, expected] :
         {std::tuple(8, nothing, QStringList{processor, accelerator, tpm, network, display}),
          {8, kvm, {u"hvf > kvm"_s, tpm, network, display}},
          {8, crb, {processor, accelerator, network, display}},
          {8, driver, {processor, accelerator, tpm, network}},
          {9, nothing, {interrupts, processor, accelerator, tpm, network, display}}}) {
        const Arguments given = machineArguments(processors);
        const Arguments rewritten = ArgumentRewriter(given).rewritten(offer);
        QCOMPARE(rewritten.size(), given.size() + 2);
        QVERIFY(rewritten[0] == "-rtc" && rewritten[1] == "base=localtime");
        QStringList changes;
        for (std::size_t i = 0; i < given.size(); ++i)
            if (rewritten[i + 2] != given[i])
                changes.append(QString::fromStdString(given[i] + " > " + rewritten[i + 2]));
        QCOMPARE(changes, expected);
    }
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
