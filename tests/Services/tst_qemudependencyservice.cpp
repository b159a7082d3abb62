#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Services/QEMUDependencyService.h"
#include "support/TemporaryHost.h"
#include "support/TestMain.h"

using namespace Qt::StringLiterals;

namespace {

/// A host of which only these paths are known; a path that ends in "!" is there but not executable.
class ListedFiles final : public FileManager
{
public:
    explicit ListedFiles(const QStringList &paths)
        : m_paths(paths)
    {}
    bool fileExists(const QString &path) const override
    {
        return m_paths.contains(path) || m_paths.contains(path + u'!');
    }
    bool isExecutableFile(const QString &path) const override { return m_paths.contains(path); }

private:
    QStringList m_paths;
};

} // namespace

class QEMUDependencyServiceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void firstPlaceWins_data();
    void firstPlaceWins();
    void readinessIsAskedAnew();
};

void QEMUDependencyServiceTest::firstPlaceWins_data()
{
    QTest::addColumn<QStringList>("paths");
    QTest::addColumn<QStringList>("found"); // emulator, TPM emulator, firmware, variables; or what is missing
    const QStringList brew = {u"/opt/homebrew/bin/qemu-system-aarch64"_s, u"/opt/homebrew/bin/swtpm"_s,
                              u"/opt/homebrew/share/qemu/edk2-aarch64-code.fd"_s,
                              u"/opt/homebrew/share/qemu/edk2-aarch64-vars.fd"_s};
    const auto with = [&](std::initializer_list<QString> more) {
        return QStringList(more) + brew;
    };

    QTest::newRow("nothing") << QStringList()
                             << QStringList{u"qemu-system-aarch64"_s, u"swtpm"_s,
                                            u"UEFI firmware (edk2-aarch64-code.fd)"_s,
                                            u"UEFI variables template (edk2-aarch64-vars.fd)"_s};
    QTest::newRow("all in one place") << brew << brew;
    QTest::newRow("one missing") << QStringList(brew.mid(0, 1) + brew.mid(2)) << QStringList{u"swtpm"_s};
    QTest::newRow("not executable in the first place")
        << QStringList(
               {u"/opt/homebrew/bin/qemu-system-aarch64!"_s, u"/usr/local/bin/qemu-system-aarch64"_s}) +
               brew.mid(1)
        << QStringList({u"/usr/local/bin/qemu-system-aarch64"_s}) + brew.mid(1);
    QTest::newRow("share/qemu before share") << with({u"/opt/homebrew/share/edk2-aarch64-code.fd"_s}) << brew;
    QTest::newRow("older name of the variables")
        << QStringList(brew.first(3)) + QStringList{u"/usr/local/share/qemu/edk2-arm-vars.fd"_s}
        << QStringList(brew.first(3)) + QStringList{u"/usr/local/share/qemu/edk2-arm-vars.fd"_s};
    QTest::newRow("place before name")
        << QStringList(brew.first(3)) + QStringList{u"/usr/local/share/qemu/edk2-aarch64-vars.fd"_s,
                                                    u"/opt/homebrew/share/edk2-aarch64-vars.fd"_s}
        << QStringList(brew.first(3)) + QStringList{u"/opt/homebrew/share/edk2-aarch64-vars.fd"_s};
    QTest::newRow("nowhere else") << QStringList{u"/usr/bin/qemu-system-aarch64"_s} + brew.mid(1)
                                  << QStringList{u"qemu-system-aarch64"_s};
}

void QEMUDependencyServiceTest::firstPlaceWins()
{
    QFETCH(const QStringList, paths);
    QFETCH(const QStringList, found);
    ListedFiles files(paths);
    const QEMUDependencyStatus status = QEMUDependencyService(files).status();
    QCOMPARE(
        status.installHint,
        u"Install the required tools with Homebrew:\n\nbrew install qemu swtpm\n\nThen restart Kelvo."_s);
    if (!status.dependencies) {
        QCOMPARE(status.missingComponents, found);
        return;
    }
    QVERIFY(status.missingComponents.isEmpty());
    const QEMUDependencies &all = *status.dependencies;
    QCOMPARE(QStringList({FileUrl::path(all.qemuBinary), FileUrl::path(all.swtpmBinary),
                          FileUrl::path(all.uefiCode), FileUrl::path(all.uefiVarsTemplate)}),
             found);
}

void QEMUDependencyServiceTest::readinessIsAskedAnew()
{
    TemporaryHost host;
    QVERIFY(!host.dependencyService().status().isReady());
    host.installTools();
    const QEMUDependencyStatus status = host.dependencyService().status();
    QVERIFY(status.isReady());
    host.removeTools();
    QVERIFY(!status.isReady());
}

KELVO_TEST_MAIN(QEMUDependencyServiceTest)
#include "tst_qemudependencyservice.moc"
