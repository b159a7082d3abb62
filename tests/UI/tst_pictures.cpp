#include "App/KelvoApp.h"
#include "App/State/AppStage.h"
#include "UI/Toolkit/Style/Appearance.h"
#include "support/TestMain.h"

#include <QDir>
#include <QFontDatabase>
#include <QQuickItem>
#include <QQuickWindow>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize windowSize(960, 640);

/// Mean colours are compared of areas of two by two of these: how glyphs are drawn hardly changes them.
constexpr int cellPixels = 8;
/// The mean of an area may differ by that, 0 to 255. Other hinting made at most 8, a missing control at
/// least 20.
constexpr double tolerance = 13;

struct Difference
{
    double amount = 0; ///< 255 for pictures of different sizes
    QPoint place;
};

Difference difference(const QImage &first, const QImage &second)
{
    if (first.size() != second.size())
        return {255, {}};
    const QSize cells(first.width() / cellPixels, first.height() / cellPixels);
    const auto mean = [&](const QImage &picture) {
        return picture.scaled(cells, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
            .convertToFormat(QImage::Format_RGB32);
    };
    const QImage one = mean(first);
    const QImage other = mean(second);
    Difference worst;
    for (const int shift : {0, 8, 16}) {
        const auto channel = [shift](const QImage &picture, QPoint cell) {
            return static_cast<int>(picture.pixel(cell) >> shift & 0xffU);
        };
        for (int y = 0; y + 1 < cells.height(); ++y)
            for (int x = 0; x + 1 < cells.width(); ++x) {
                int sum = 0;
                for (const QPoint cell :
                     {QPoint(x, y), QPoint(x + 1, y), QPoint(x, y + 1), QPoint(x + 1, y + 1)})
                    sum += channel(one, cell) - channel(other, cell);
                if (const double amount = std::abs(sum) / 4.0; amount > worst.amount)
                    worst = {amount, QPoint(x + 1, y + 1) * cellPixels};
            }
    }
    return worst;
}

} // namespace

/// The three main windows against pictures of them, which lie beside this file.
class PicturesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void windowsLookAsTheirPictures_data();
    void windowsLookAsTheirPictures();

private:
    /// Once it stands still.
    [[nodiscard]] QImage picture() const;

    std::unique_ptr<AppStage> m_stage;
    std::unique_ptr<KelvoApp> m_app;
    QQuickWindow *m_window = nullptr;
};

void PicturesTest::initTestCase()
{
    QVERIFY2(QFontDatabase::families().contains(u"Noto Sans"_s), "no font Noto Sans: see scripts/setup");
    QQuickWindow::setTextRenderType(QQuickWindow::NativeTextRendering);
    Appearance::shared().setOverride(ColorScheme::light);
    AppearancePortal portal;
    Appearance::shared().follow(portal);
    Q_EMIT portal.animationTold(false);
    QFont font(u"Noto Sans"_s);
    font.setPixelSize(14);
    font.setHintingPreference(QFont::PreferVerticalHinting);
    QGuiApplication::setFont(font);
}

void PicturesTest::cleanup()
{
    m_app.reset();
    m_stage.reset();
}

void PicturesTest::windowsLookAsTheirPictures_data()
{
    QTest::addColumn<QString>("name");
    for (const auto &name : {u"list"_s, u"wizard"_s, u"console-off"_s})
        QTest::newRow(qPrintable(name)) << name;
}

/// Shows the window of that name.
void PicturesTest::init()
{
    m_app.reset();
    m_stage = std::make_unique<AppStage>();
    m_stage->host.write(u"setup.iso"_s, "image");
    m_stage->add(u"Windows 11"_s);
    m_stage->add(u"Windows 11 Preview"_s, m_stage->host.path(u"setup.iso"_s));
    m_app = std::make_unique<KelvoApp>(std::move(m_stage->state), m_stage->host.path(u"windows.ini"_s));
    QVERIFY(m_app->start());
    AppState &state = m_app->state();
    VirtualMachine *installed = state.vmManager()->virtualMachines().first();
    installed->setInstallationState(VMInstallationState::completed);

    m_window = m_app->mainWindow();
    QFETCH(const QString, name);
    if (name == u"list") {
        state.perform(installed, VMCommand::Start);
        QTRY_COMPARE(installed->state(), VMState::running);
    } else if (name == u"wizard") {
        state.setShowingCreateVM(true);
    } else {
        state.showConsole(installed);
        m_window = m_app->consoleWindow(installed->id());
    }
    m_window->resize(windowSize);
    QVERIFY(QTest::qWaitForWindowExposed(m_window, patience));
}

QImage PicturesTest::picture() const
{
    QImage last = m_window->grabWindow();
    const auto isStill = [&] {
        QTest::qWait(50);
        return last == std::exchange(last, m_window->grabWindow());
    };
    if (!QTest::qWaitFor(isStill, patience))
        QTest::qFail("the window does not come to rest", __FILE__, __LINE__);
    return last;
}

void PicturesTest::windowsLookAsTheirPictures()
{
    const QImage shown = picture();
    QFETCH(const QString, name);
    const QString file = QStringLiteral(KELVO_PICTURES) + u"/%1.png"_s.arg(name);
    if (qEnvironmentVariableIsSet("KELVO_RENEW_PICTURES"))
        QVERIFY(shown.save(file));
    const QImage expected(file);
    QVERIFY2(!expected.isNull(), qPrintable(u"there is no picture "_s + file));
    const Difference found = difference(shown, expected);
    if (found.amount > tolerance) {
        const QString kept = QDir(QStringLiteral(KELVO_PICTURE_FAILURES)).filePath(name + u".png"_s);
        QVERIFY(QDir().mkpath(QStringLiteral(KELVO_PICTURE_FAILURES)) && shown.save(kept));
        const QString text =
            u"%1 is not like %2: most, by %3, around (%4, %5). If it should look so, build the target "
            "renew-pictures."_s;
        QFAIL(qPrintable(text.arg(kept, file).arg(found.amount).arg(found.place.x()).arg(found.place.y())));
    }
}

KELVO_GUI_TEST_MAIN(PicturesTest)
#include "tst_pictures.moc"
