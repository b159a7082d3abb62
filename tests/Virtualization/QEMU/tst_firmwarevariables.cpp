#include "Virtualization/QEMU/FirmwareVariables.h"
#include "support/TestMain.h"

#include <QtEndian>

using namespace Qt::StringLiterals;

class TestFirmwareVariables : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void addsTheSizeAfterTheLastVariable();
    void leavesOtherStoresAlone_data();
    void leavesOtherStoresAlone();
};

namespace {

constexpr qsizetype firstVariableAt = 72 + 28;
constexpr quint32 storeBytes = 28 + 200;
const QByteArray added = QByteArray::fromHex("aa553f0003000000" // added, not volatile, for boot services
                                             "000000000000000000000000000000000000000000000000"
                                             "00000000"
                                             "1e00000008000000"
                                             "1cc53572800cab4c87ac3b084a6304b1"
                                             "50006c006100740066006f0072006d0043006f006e006600690067000000"
                                             "0004000000030000");

QByteArray littleEndian(quint32 value)
{
    QByteArray bytes(sizeof value, Qt::Uninitialized);
    qToLittleEndian(value, bytes.data());
    return bytes;
}

QByteArray variable(quint32 nameBytes, quint32 dataBytes, const QByteArray &content)
{
    return QByteArray::fromHex("aa553f0003000000") + QByteArray(28, '\0') + littleEndian(nameBytes) +
           littleEndian(dataBytes) + QByteArray(16, 'v') + content;
}

/// A volume of which these are the first variables, and the rest is erased.
QByteArray store(const QByteArray &variables, quint32 size = storeBytes)
{
    const QByteArray volume = QByteArray(16, '\0') + QByteArray::fromHex("8d2bf1ff96768b4ca9852747075b4f50") +
                              QByteArray(8, '\0') + "_FVH" + QByteArray(4, '\0') +
                              QByteArray::fromHex("4800") + QByteArray(22, '\0');
    const QByteArray header = QByteArray::fromHex("782cf3aa7b949a43a1802e144ec37792") + littleEndian(size) +
                              QByteArray::fromHex("5afe000000000000");
    return volume + header + variables.leftJustified(storeBytes - 28, '\xff');
}

} // namespace

void TestFirmwareVariables::addsTheSizeAfterTheLastVariable()
{
    QCOMPARE(FirmwareVariables::screenSize(store({}), 1024, 768),
             std::optional(FileManager::Amendment{.offset = firstVariableAt, .bytes = added}));
    // The next one begins at a multiple of four.
    const QByteArray other = variable(4, 3, "A\0\0\0abc"_ba);
    QCOMPARE(FirmwareVariables::screenSize(store(other), 1024, 768),
             std::optional(FileManager::Amendment{.offset = firstVariableAt + 68, .bytes = added}));
}

void TestFirmwareVariables::leavesOtherStoresAlone_data()
{
    QTest::addColumn<QByteArray>("image");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("blank") << QByteArray(1000, '\0');
    QTest::newRow("of another kind") << store({}).replace("_FVH", "_FVX");
    QTest::newRow("broken off") << store({}).chopped(1);
    QTest::newRow("broken off before its variables") << store({}).first(80);
    QTest::newRow("smaller than its header") << store({}, 27);
    QTest::newRow("has a size") << store(added);
    QTest::newRow("full") << store(variable(4, 40, "A\0\0\0"_ba + QByteArray(40, 'd')));
    QTest::newRow("not erased behind its variables") << store(QByteArray(97, '\xff') + 'x');
    QTest::newRow("a variable beyond its end") << store(variable(4, 0xfffffff0, {}));
    QTest::newRow("sizes that wrap around") << store(variable(0xffffffff, 0xffffffff, {}));
}

void TestFirmwareVariables::leavesOtherStoresAlone()
{
    QFETCH(const QByteArray, image);
    QVERIFY(!FirmwareVariables::screenSize(image, 1024, 768));
}

KELVO_TEST_MAIN(TestFirmwareVariables)
#include "tst_firmwarevariables.moc"
