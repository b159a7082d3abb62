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
#include <QRandomGenerator>

using namespace Qt::StringLiterals;

namespace {

constexpr int answerTimeoutMilliseconds = 2000;

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
}

void FileChooserPortal::open(QWindow *parentWindow, const QString &title, const QUrl &startFolder,
                             bool picksFolder, const QList<QString> &patterns)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        Q_EMIT unavailable();
        return;
    }
    // The request's path follows from our bus name and token, so its answer cannot come before we listen.
    const QString token = u"kelvo%1"_s.arg(QRandomGenerator::global()->generate());
    const QString sender = bus.baseService().mid(1).replace(u'.', u'_');
    listen(u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(sender, token));

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
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, answerTimeoutMilliseconds), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusObjectPath> reply = *watcher;
        if (!reply.isError())
            return;
        forget();
        Q_EMIT unavailable();
    });
}

void FileChooserPortal::listen(const QString &requestPath)
{
    forget();
    m_requestPath = requestPath;
    QDBusConnection::sessionBus().connect(DesktopPortal::service, m_requestPath,
                                          u"org.freedesktop.portal.Request"_s, u"Response"_s, this,
                                          SLOT(handleResponse(uint, QVariantMap)));
}

void FileChooserPortal::forget()
{
    if (m_requestPath.isEmpty())
        return;
    QDBusConnection::sessionBus().disconnect(DesktopPortal::service, m_requestPath,
                                             u"org.freedesktop.portal.Request"_s, u"Response"_s, this,
                                             SLOT(handleResponse(uint, QVariantMap)));
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
