#pragma once

#include <QObject>
#include <QStringList>
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

    /// Ends in picked() or dismissed(), or in unavailable() where no portal answers within two seconds.
    Q_INVOKABLE void open(QWindow *parentWindow, const QString &title, const QUrl &startFolder,
                          bool picksFolder, const QList<QString> &patterns);

Q_SIGNALS:
    void picked(const QUrl &url);
    void dismissed();
    void unavailable();

private Q_SLOTS:
    void handleResponse(uint response, const QVariantMap &results);

private:
    void listen(const QString &requestPath);
    void forget();

    QString m_requestPath;
};
