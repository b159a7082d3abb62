#include "App/CommandLine.h"
#include "App/KelvoApp.h"
#include "App/PromptDrawing.h"
#include "App/Translations.h"
#include "Platform/Desktop/ApplicationService.h"
#include "Platform/Desktop/Notifications.h"
#include "Platform/Desktop/ProcessScope.h"
#include "Platform/Desktop/SleepInhibitor.h"
#include "Virtualization/VMManager.h"

#include <QDir>
#include <QFont>
#include <QGuiApplication>
#include <QIcon>
#include <QPainter>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QStandardPaths>
#include <QSvgRenderer>

#include <sys/stat.h>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int exitStatusOfMisuse = 2;

const QString identifier = u"vostarn.id.Kelvo"_s;

/// What whoever launched us gave, so that a window may come to the front; empty when nothing was given.
QString launchToken()
{
    const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    return token.isEmpty() ? qEnvironmentVariable("DESKTOP_STARTUP_ID") : token;
}

/// For desktops that do not find it through the desktop entry.
QIcon windowIcon()
{
    QSvgRenderer drawing(u":/vostarn.id.Kelvo.svg"_s);
    QIcon icon;
    for (const int extent : {16, 32, 64, 128}) {
        QPixmap picture(extent, extent);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        drawing.render(&painter);
        icon.addPixmap(picture);
    }
    return icon;
}

void connectService(ApplicationService &service, KelvoApp &kelvo)
{
    QObject::connect(&service, &ApplicationService::activated, &kelvo,
                     [&kelvo](const QString &token) { kelvo.open({}, token); });
    QObject::connect(&service, &ApplicationService::openRequested, &kelvo, &KelvoApp::open);
    QObject::connect(&service, &ApplicationService::actionRequested, &kelvo, &KelvoApp::perform);
}

void connectNotifications(Notifications &notifications, KelvoApp &kelvo)
{
    QObject::connect(&kelvo, &KelvoApp::newsArrived, &notifications, &Notifications::show);
    QObject::connect(&kelvo, &KelvoApp::newsOutdated, &notifications, &Notifications::withdraw);
    QObject::connect(&notifications, &Notifications::chosen, &kelvo,
                     [&kelvo](const QString &subject, const QString &token) {
                         kelvo.showConsole(QUuid::fromString(subject), token);
                     });
}

/// A guest does not end with the application, whatever ends that.
void giveScope(VirtualMachine *vm, const QList<pid_t> &processes)
{
    ProcessScope::make(QDBusConnection::sessionBus(), identifier, vm->name(), processes);
}

void useReadableFont()
{
    // Without a desktop's own setting the toolkit takes the first sans-serif font there is, at nine points.
    if (QGuiApplication::font().family() != "Sans Serif"_L1)
        return;
    QFont font = QGuiApplication::font();
    font.setFamilies({u"Inter"_s, u"Cantarell"_s, u"Noto Sans"_s, u"Sans Serif"_s});
    font.setPixelSize(14);
    QGuiApplication::setFont(font);
}

} // namespace

int main(int argc, char *argv[])
{
    QStringList arguments;
    for (int index = 0; index < argc; ++index)
        arguments.append(QString::fromLocal8Bit(argv[index]));
    const CommandLine commandLine = CommandLine::parse(arguments, QDir::currentPath());
    if (!commandLine.problem.isEmpty()) {
        std::fprintf(stderr, "kelvo: %s\n", qUtf8Printable(commandLine.problem));
        return exitStatusOfMisuse;
    }
    if (!commandLine.output.isEmpty()) {
        std::fputs(qUtf8Printable(commandLine.output), stdout);
        return EXIT_SUCCESS;
    }

    // Also for what the emulators make: their sockets and logs are nobody else's business.
    ::umask(S_IRWXG | S_IRWXO);
    const QString token = launchToken(); // the toolkit takes it out of the environment
    drawPromptly();
    QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(u"kelvo"_s);
    QGuiApplication::setApplicationDisplayName(u"Kelvo"_s);
    QGuiApplication::setApplicationVersion(QLatin1StringView(KELVO_VERSION));
    QGuiApplication::setDesktopFileName(identifier);

    ApplicationService service(identifier, QDBusConnection::sessionBus());
    switch (service.start(commandLine.documents, token)) {
    case ApplicationService::Start::first:
        break;
    case ApplicationService::Start::handedOver:
        return EXIT_SUCCESS;
    case ApplicationService::Start::unanswered:
        std::fputs("kelvo: Kelvo runs already, but it does not answer.\n", stderr);
        return EXIT_FAILURE;
    }

    Translations::install(QLocale::system());
    if (commandLine.isReversed)
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    useReadableFont();
    QGuiApplication::setWindowIcon(windowIcon());
    // What is the library's looks the same whatever style the environment names.
    QQuickStyle::setStyle(u"Fusion"_s);
    QQuickWindow::setTextRenderType(QQuickWindow::NativeTextRendering);

    Appearance::shared().setOverride(commandLine.colorScheme);
    AppearancePortal portal;
    Appearance::shared().follow(portal);
    portal.start();

    auto manager = std::make_unique<VMManager>(VMManager::defaultCollaborators());
    KelvoApp kelvo(std::make_unique<AppState>(std::move(manager)),
                   QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) + u"/windows.ini"_s);
    connectService(service, kelvo);
    SleepInhibitor inhibitor(identifier, QCoreApplication::translate("main", "A virtual machine is running."),
                             QDBusConnection::sessionBus());
    QObject::connect(&kelvo.state(), &AppState::machineAtWorkChanged, &inhibitor, &SleepInhibitor::setActive);
    QObject::connect(kelvo.state().vmManager(), &VMManager::guestLaunched, &kelvo, &giveScope);
    Notifications notifications(identifier, QDBusConnection::sessionBus());
    connectNotifications(notifications, kelvo);
    if (!kelvo.start())
        return EXIT_FAILURE;
    if (!commandLine.documents.isEmpty())
        kelvo.open(commandLine.documents);
    return QGuiApplication::exec();
}
