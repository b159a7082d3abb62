#include "ArgumentRewriter.h"
#include "support/TestMain.h"

#include <QTest>

#include <string>
#include <vector>

using Arguments = std::vector<std::string>;
Q_DECLARE_METATYPE(HostOffer)
Q_DECLARE_METATYPE(Arguments)

namespace {

constexpr HostOffer nothing{};
constexpr HostOffer kvm{.hardwareAcceleration = true};
constexpr HostOffer crb{.tpmCrbDevice = true};

QString shown(const Arguments &arguments)
{
    QStringList result;
    for (const std::string &argument : arguments)
        result.append(QLatin1Char('[') + QString::fromStdString(argument) + QLatin1Char(']'));
    return result.join(QLatin1Char(' '));
}

// As Kelvo starts a machine, with the places that the adapter changes.
Arguments machineArguments(const std::string &accelerator, const std::string &processor,
                           const std::string &tpm, const std::string &display,
                           const std::string &processors = "4",
                           const std::string &machine = "virt,highmem=on")
{
    return {"-name",    "Windows 11",
            "-machine", machine,
            "-cpu",     processor,
            "-accel",   accelerator,
            "-smp",     processors,
            "-m",       "8192",
            "-drive",   "if=pflash,format=raw,file=/opt/homebrew/share/qemu/edk2-aarch64-code.fd,readonly=on",
            "-drive",   "if=pflash,format=raw,file=/home/ada/Virtual Machines/Windows 11.vm/uefi_vars.fd",
            "-chardev", "socket,id=chrtpm,path=/home/ada/Virtual Machines/Windows 11.vm/tpm/swtpm.sock",
            "-tpmdev",  "emulator,id=tpm0,chardev=chrtpm",
            "-device",  tpm + ",tpmdev=tpm0",
            "-device",  "qemu-xhci",
            "-device",  "usb-kbd",
            "-device",  "usb-tablet",
            "-drive",   "file=/home/ada/Virtual Machines/Windows 11.vm/disk.img,format=raw,if=none,id=hd0",
            "-device",  "virtio-blk-pci,drive=hd0,bootindex=1",
            "-netdev",  "user,id=net0",
            "-device",  "virtio-net-pci,netdev=net0",
            "-device",  display,
            "-display", "vnc=127.0.0.1:1,password=off",
            "-qmp",     "unix:/home/ada/Virtual Machines/Windows 11.vm/qmp.sock,server,nowait",
            "-serial",  "file:/home/ada/Virtual Machines/Windows 11.vm/serial.log"};
}

} // namespace

class ArgumentRewriterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rewritesOnlyWhatTheHostLacks_data();
    void rewritesOnlyWhatTheHostLacks();
    void asksOnlyWhatTheListDependsOn();
};

void ArgumentRewriterTest::rewritesOnlyWhatTheHostLacks_data()
{
    QTest::addColumn<Arguments>("given");
    QTest::addColumn<HostOffer>("offer");
    QTest::addColumn<Arguments>("expected");

    const Arguments whole = machineArguments("hvf", "host", "tpm-crb-device", "virtio-gpu-pci");
    QTest::newRow("whole list, emulated")
        << whole << nothing << machineArguments("tcg", "max,pauth=off", "tpm-tis-device", "ramfb");
    QTest::newRow("whole list, hardware")
        << whole << kvm << machineArguments("kvm", "host", "tpm-tis-device", "ramfb");
    QTest::newRow("whole list, emulator with the device")
        << whole << crb << machineArguments("tcg", "max,pauth=off", "tpm-crb-device", "ramfb");
    QTest::newRow("ten processors") << machineArguments("hvf", "host", "tpm-crb-device", "virtio-gpu-pci",
                                                        "10")
                                    << nothing
                                    << machineArguments("tcg", "max,pauth=off", "tpm-tis-device", "ramfb",
                                                        "10", "virt,gic-version=max,highmem=on");

    QTest::newRow("no arguments") << Arguments{} << nothing << Arguments{};
    QTest::newRow("empty arguments") << Arguments{"", "-accel", "", "-cpu", "", "-device", "", "-"} << nothing
                                     << Arguments{"", "-accel", "", "-cpu", "", "-device", "", "-"};
    QTest::newRow("option without its value")
        << Arguments{"-cpu", "host", "-accel"} << nothing << Arguments{"-cpu", "host", "-accel"};
    QTest::newRow("value that looks like an option")
        << Arguments{"-name", "-accel", "hvf", "-accel", "hvf"} << nothing
        << Arguments{"-name", "-accel", "hvf", "-accel", "tcg"};
    QTest::newRow("machine named like a value")
        << Arguments{"-name", "hvf", "-serial", "file:host"} << nothing
        << Arguments{"-name", "hvf", "-serial", "file:host"};
    QTest::newRow("option after one without a value")
        << Arguments{"-S", "-accel", "hvf", "-nographic", "-cpu", "host"} << nothing
        << Arguments{"-S", "-accel", "tcg", "-nographic", "-cpu", "max,pauth=off"};
    QTest::newRow("two dashes, processor first") << Arguments{"--cpu", "host", "--accel", "hvf"} << nothing
                                                 << Arguments{"--cpu", "max,pauth=off", "--accel", "tcg"};
    QTest::newRow("options given twice")
        << Arguments{"-accel",         "hvf",     "-accel",        "hvf", "-device",
                     "tpm-crb-device", "-device", "tpm-crb-device"}
        << nothing << Arguments{"-accel",         "tcg",     "-accel",        "tcg", "-device",
                                "tpm-tis-device", "-device", "tpm-tis-device"};
    QTest::newRow("further parameters stay")
        << Arguments{"-accel", "hvf,thread=multi", "-cpu", "host,pmu=off", "-device", "virtio-gpu-pci,id=a"}
        << nothing << Arguments{"-accel",  "tcg,thread=multi",   "-cpu", "max,pauth=off,pmu=off",
                                "-device", "virtio-gpu-pci,id=a"};
    QTest::newRow("names that only begin alike")
        << Arguments{"-accel", "hvf2", "-cpu", "hosted", "-device", "tpm-crb-device2", "-accelerate", "hvf"}
        << nothing
        << Arguments{"-accel", "hvf2", "-cpu", "hosted", "-device", "tpm-crb-device2", "-accelerate", "hvf"};
    QTest::newRow("accelerator chosen by the caller") << Arguments{"-accel", "kvm", "-cpu", "host"} << nothing
                                                      << Arguments{"-accel", "kvm", "-cpu", "host"};
    QTest::newRow("questions pass") << Arguments{"-device",  "tpm-crb-device,help", "-accel", "help",
                                                 "-machine", "virt,help",           "-smp",   "9",
                                                 "-version"}
                                    << nothing
                                    << Arguments{"-device",  "tpm-crb-device,help", "-accel", "help",
                                                 "-machine", "virt,help",           "-smp",   "9",
                                                 "-version"};

    const auto version = [](const char *name, const Arguments &given, const Arguments &expected) {
        QTest::newRow(name) << given << nothing << expected;
    };
    version("eight processors", {"-M", "virt", "-smp", "8"}, {"-M", "virt", "-smp", "8"});
    version("nine processors", {"-smp", "9", "-M", "virt"}, {"-smp", "9", "-M", "virt,gic-version=max"});
    version("room for more", {"-machine", "virt-7.2", "-smp", "2,sockets=1,maxcpus=16"},
            {"-machine", "virt-7.2,gic-version=max", "-smp", "2,sockets=1,maxcpus=16"});
    version("named count", {"-machine", "type=virt", "-smp", "cpus=9"},
            {"-machine", "type=virt,gic-version=max", "-smp", "cpus=9"});
    version("last count holds", {"-machine", "virt", "-smp", "16", "-smp", "4"},
            {"-machine", "virt", "-smp", "16", "-smp", "4"});
    version("last machine gets it", {"-machine", "virt", "-machine", "virt", "-smp", "12"},
            {"-machine", "virt", "-machine", "virt,gic-version=max", "-smp", "12"});
    version("version given", {"-machine", "virt,gic-version=3", "-smp", "16"},
            {"-machine", "virt,gic-version=3", "-smp", "16"});
    version("version given apart", {"-machine", "virt", "-machine", "gic-version=3", "-smp", "16"},
            {"-machine", "virt", "-machine", "gic-version=3", "-smp", "16"});
    version("version only inside a text", {"-machine", "virt,dtb=a,,gic-version=3", "-smp", "16"},
            {"-machine", "virt,gic-version=max,dtb=a,,gic-version=3", "-smp", "16"});
    version("comma at the end", {"-machine", "virt,", "-smp", "16"},
            {"-machine", "virt,gic-version=max,", "-smp", "16"});
    version("doubled comma in the name", {"-machine", "virt,,a", "-smp", "16"},
            {"-machine", "virt,,a", "-smp", "16"});
    version("other machine", {"-machine", "raspi3b", "-smp", "16"}, {"-machine", "raspi3b", "-smp", "16"});
    version("absurd counts", {"-machine", "virt", "-smp", "99999999999999999999", "-smp", "-9", "-smp", "9x"},
            {"-machine", "virt", "-smp", "99999999999999999999", "-smp", "-9", "-smp", "9x"});
}

void ArgumentRewriterTest::rewritesOnlyWhatTheHostLacks()
{
    QFETCH(Arguments, given);
    QFETCH(HostOffer, offer);
    QFETCH(Arguments, expected);
    QCOMPARE(shown(ArgumentRewriter(given).rewritten(offer)), shown(expected));
}

void ArgumentRewriterTest::asksOnlyWhatTheListDependsOn()
{
    const Arguments machine = machineArguments("hvf", "host", "tpm-crb-device", "virtio-gpu-pci");
    QVERIFY(ArgumentRewriter(machine).asksForAcceleration());
    QVERIFY(ArgumentRewriter(machine).asksForTpmCrbDevice());

    const Arguments neither{"-accel", "tcg", "-device", "tpm-crb-device,help", "-name", "-accel", "hvf"};
    QVERIFY(!ArgumentRewriter(neither).asksForAcceleration());
    QVERIFY(!ArgumentRewriter(neither).asksForTpmCrbDevice());
}

KELVO_TEST_MAIN(ArgumentRewriterTest)
#include "tst_argumentrewriter.moc"
