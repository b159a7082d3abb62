#include "UI/Toolkit/Files/FileChooserPortal.h"

#include "Platform/Desktop/DesktopPortal.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QPointer>
#include <QRandomGenerator>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto patience = 2s;
const QString requestInterface = u"org.freedesktop.portal.Request"_s;

/// "(us)": 0 and a file name pattern.
struct Pattern
{
    uint kind = 0;
    QString text;
};

/// "(sa(us))": what people read, and what it admits.
struct Filter
{
    QString name;
    QList<Pattern> patterns;
};

QDBusArgument &operator<<(QDBusArgument &argument, const Pattern &pattern)
{
    argument.beginStructure();
    argument << pattern.kind << pattern.text;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, Pattern &pattern)
{
    argument.beginStructure();
    argument >> pattern.kind >> pattern.text;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const Filter &filter)
{
    argument.beginStructure();
    argument << filter.name << filter.patterns;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, Filter &filter)
{
    argument.beginStructure();
    argument >> filter.name >> filter.patterns;
    argument.endStructure();
    return argument;
}

QString windowIdentifier(const QWindow *window)
{
    if (!window || QGuiApplication::platformName() != "xcb"_L1)
        return {};
    return u"x11:"_s + QString::number(window->winId(), 16);
}

void close(const QString &requestPath)
{
    QDBusConnection::sessionBus().send(
        QDBusMessage::createMethodCall(DesktopPortal::service, requestPath, requestInterface, u"Close"_s));
}

} // namespace

Q_DECLARE_METATYPE(Pattern)
Q_DECLARE_METATYPE(Filter)

FileChooserPortal::FileChooserPortal(QObject *parent)
    : QObject(parent)
{
    qDBusRegisterMetaType<Pattern>();
    qDBusRegisterMetaType<QList<Pattern>>();
    qDBusRegisterMetaType<Filter>();
    qDBusRegisterMetaType<QList<Filter>>();
    m_patience.setSingleShot(true);
    m_patience.setInterval(patience);
    connect(&m_patience, &QTimer::timeout, this, &FileChooserPortal::giveUp);
}

FileChooserPortal::~FileChooserPortal()
{
    if (!m_requestPath.isEmpty() && !m_patience.isActive())
        close(m_requestPath);
}

void FileChooserPortal::open(QWindow *parentWindow, const QString &title, const QUrl &startFolder,
                             bool picksFolder, const QList<QString> &patterns)
{
    if (!m_requestPath.isEmpty())
        return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        Q_EMIT unavailable();
        return;
    }
    // The request's path follows from our bus name and token, so its answer cannot come before we listen.
    const QString token = u"kelvo%1"_s.arg(QRandomGenerator::global()->generate());
    const QString sender = bus.baseService().mid(1).replace(u'.', u'_');
    m_requestPath = u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(sender, token);
    bus.connect(DesktopPortal::service, m_requestPath, requestInterface, u"Response"_s, this,
                SLOT(handleResponse(uint, QVariantMap)));

    QVariantMap options = {{u"handle_token"_s, token}, {u"modal"_s, true}, {u"directory"_s, picksFolder}};
    if (startFolder.isLocalFile())
        options.insert(u"current_folder"_s, startFolder.toLocalFile().toLocal8Bit() + '\0');
    if (!patterns.isEmpty()) {
        Filter images{.name = tr("Disk images"), .patterns = {}};
        for (const QString &pattern : patterns)
            images.patterns.append({.kind = 0, .text = pattern});
        const Filter all{.name = tr("All files"), .patterns = {{.kind = 0, .text = u"*"_s}}};
        options.insert(u"filters"_s, QVariant::fromValue(QList<Filter>{images, all}));
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        DesktopPortal::service, DesktopPortal::path, u"org.freedesktop.portal.FileChooser"_s, u"OpenFile"_s);
    call.setArguments({windowIdentifier(parentWindow), title, options});
    m_patience.start();
    // Outlives us: a panel that nobody waits for any more is closed as soon as it can be.
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), QCoreApplication::instance());
    connect(watcher, &QDBusPendingCallWatcher::finished,
            [chooser = QPointer(this), path = m_requestPath, watcher] {
                watcher->deleteLater();
                const bool isAwaited = chooser && chooser->m_requestPath == path;
                if (!isAwaited && !watcher->isError())
                    close(path);
                else if (isAwaited && watcher->isError())
                    chooser->giveUp();
                else if (isAwaited)
                    chooser->m_patience.stop();
            });
}

void FileChooserPortal::giveUp()
{
    forget();
    Q_EMIT unavailable();
}

void FileChooserPortal::forget()
{
    m_patience.stop();
    QDBusConnection::sessionBus().disconnect(DesktopPortal::service, m_requestPath, requestInterface,
                                             u"Response"_s, this, SLOT(handleResponse(uint, QVariantMap)));
    m_requestPath.clear();
}

void FileChooserPortal::handleResponse(uint response, const QVariantMap &results)
{
    forget();
    const QStringList uris = results.value(u"uris"_s).toStringList();
    const QUrl url = uris.isEmpty() ? QUrl() : QUrl(uris.constFirst());
    if (response == 0 && url.isLocalFile())
        Q_EMIT picked(url);
    else
        Q_EMIT dismissed();
}
