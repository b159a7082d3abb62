#pragma once

#include <QDBusConnection>
#include <QList>
#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>

#include <chrono>

/// The application's place on the session bus: its identifier as the name, and org.freedesktop.Application at
/// the path made of it (Desktop Entry Specification, "D-Bus Activation"). The first process gets the place, a
/// later one hands over to it. Main thread.
class ApplicationService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    enum class Start
    {
        first,      ///< this process has the place now, or there is no session bus
        handedOver, ///< another process has taken over what was asked for
        unanswered  ///< another process has the place but does not answer
    };

    /// `identifier`: a valid bus name.
    explicit ApplicationService(const QString &identifier, const QDBusConnection &bus,
                                QObject *parent = nullptr);
    ~ApplicationService() override;

    /// How long a later process waits for the first one.
    std::chrono::milliseconds answerTimeout{10000};

    /// Waits for the bus, and in a later process for the first one, which is asked to open the documents, or
    /// to show itself where there are none. `activationToken` lets it come to the front (XDG activation or
    /// startup notification protocol); may be empty.
    [[nodiscard]] Start start(const QList<QUrl> &documents, const QString &activationToken);

Q_SIGNALS:
    /// Each signal comes with the activation token of whoever asked; it may be empty.
    void activated(const QString &activationToken);
    void openRequested(const QList<QUrl> &documents, const QString &activationToken);
    /// One of the desktop entry's actions.
    void actionRequested(const QString &name, const QString &activationToken);

public Q_SLOTS:
    // The names and types of the interface on the bus.
    Q_SCRIPTABLE void Activate(const QVariantMap &platformData);                         // NOLINT
    Q_SCRIPTABLE void Open(const QStringList &uris, const QVariantMap &platformData);    // NOLINT
    Q_SCRIPTABLE void ActivateAction(const QString &name, const QVariantList &parameter, // NOLINT
                                     const QVariantMap &platformData);

private:
    [[nodiscard]] bool takePlace();

    const QString m_identifier;
    const QString m_path;
    QDBusConnection m_bus;
    bool m_hasPlace = false;
};
