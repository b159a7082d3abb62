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
    const QString qemu = u"/opt/homebrew/bin/qemu-system-aarch64"_s;
    const QString swtpm = u"/opt/homebrew/bin/swtpm"_s;
    const QString code = u"/opt/homebrew/share/qemu/edk2-aarch64-code.fd"_s;
    const QString vars = u"/opt/homebrew/share/qemu/edk2-aarch64-vars.fd"_s;
    const QString otherQemu = u"/usr/local/bin/qemu-system-aarch64"_s;
    const QString olderVars = u"/usr/local/share/qemu/edk2-arm-vars.fd"_s;
    const auto row = [](const char *name, const QStringList &paths, const QStringList &found) {
        QTest::newRow(name) << paths << found;
    };
    row("nothing", {u"/usr/bin/qemu-system-aarch64"_s},
        {u"qemu-system-aarch64"_s, u"swtpm"_s, u"UEFI firmware (edk2-aarch64-code.fd)"_s,
         u"UEFI variables template (edk2-aarch64-vars.fd)"_s});
    row("one missing", {qemu, code, vars}, {u"swtpm"_s});
    row("not executable in the first place", {qemu + u'!', otherQemu, swtpm, code, vars},
        {otherQemu, swtpm, code, vars});
    row("share/qemu before share", {u"/opt/homebrew/share/edk2-aarch64-code.fd"_s, qemu, swtpm, code, vars},
        {qemu, swtpm, code, vars});
    row("older name of the variables", {qemu, swtpm, code, olderVars}, {qemu, swtpm, code, olderVars});
    const QString nearVars = u"/opt/homebrew/share/edk2-aarch64-vars.fd"_s;
    row("place before name", {qemu, swtpm, code, olderVars, nearVars}, {qemu, swtpm, code, nearVars});
}

void QEMUDependencyServiceTest::firstPlaceWins()
{
    QFETCH(const QStringList, paths);
    ListedFiles files(paths);
    const QEMUDependencyStatus status = QEMUDependencyService(files).status();
    QStringList found = status.missingComponents;
    if (status.dependencies) {
        const QEMUDependencies &all = *status.dependencies;
        for (const QUrl &file : {all.qemuBinary, all.swtpmBinary, all.uefiCode, all.uefiVarsTemplate})
            found.append(FileUrl::path(file));
    }
    QTEST(found, "found");
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
