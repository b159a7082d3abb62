#pragma once

#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QUrl>
#include <QVariantMap>
#include <QWindow>
#include <QtQml/qqmlregistration.h>

/// The desktop's own panel for one file or folder, through org.freedesktop.portal.FileChooser and the
/// Response of its org.freedesktop.portal.Request. Nothing blocks. Main thread.
class FileChooserPortal : public QObject
{
    Q_OBJECT
    QML_ELEMENT

public:
    explicit FileChooserPortal(QObject *parent = nullptr);
    /// Closes the panel.
    ~FileChooserPortal() override;

    /// Ends in picked() or dismissed(), or in unavailable() where no portal answers within two seconds; a
    /// panel that comes later is closed. Does nothing while there is a panel.
    Q_INVOKABLE void open(QWindow *parentWindow, const QString &title, const QUrl &startFolder,
                          bool picksFolder, const QList<QString> &patterns);

Q_SIGNALS:
    void picked(const QUrl &url);
    void dismissed();
    void unavailable();

private Q_SLOTS:
    void handleResponse(uint response, const QVariantMap &results);

private:
    void giveUp();
    void forget();

    QString m_requestPath;
    QTimer m_patience;
};
