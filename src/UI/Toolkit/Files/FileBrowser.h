#pragma once

#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

/// A place in the file system that is looked through for one file or one folder. Main thread.
class FileBrowser : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool picksFolder MEMBER m_picksFolder NOTIFY picksFolderChanged)
    Q_PROPERTY(QUrl folder READ folder WRITE setFolder NOTIFY folderChanged)
    Q_PROPERTY(QString path READ path NOTIFY folderChanged)
    Q_PROPERTY(bool canGoUp READ canGoUp NOTIFY folderChanged)
    Q_PROPERTY(QString problem READ problem NOTIFY problemChanged)

public:
    explicit FileBrowser(QObject *parent = nullptr);

    [[nodiscard]] QUrl folder() const { return m_folder; }
    /// Stays where it is when that is no folder.
    void setFolder(const QUrl &folder);
    [[nodiscard]] QString path() const;
    [[nodiscard]] bool canGoUp() const;
    /// Why the last text led nowhere; empty when it did.
    [[nodiscard]] QString problem() const { return m_problem; }

    Q_INVOKABLE void goUp();
    /// What was typed: absolute, after "~", or relative to the folder. A folder is gone to, a file is picked.
    Q_INVOKABLE void submit(const QString &text);
    /// What was chosen in the list.
    Q_INVOKABLE void open(const QUrl &url, bool isFolder);
    /// The folder itself.
    Q_INVOKABLE void pickFolder();

Q_SIGNALS:
    void picksFolderChanged();
    void folderChanged();
    void problemChanged();
    void picked(const QUrl &url);

private:
    void setProblem(const QString &problem);

    bool m_picksFolder = false;
    QUrl m_folder;
    QString m_problem;
};
