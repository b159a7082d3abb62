#include "UI/Toolkit/Files/FileBrowser.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

FileBrowser::FileBrowser(QObject *parent)
    : QObject(parent)
    , m_folder(QUrl::fromLocalFile(QDir::homePath()))
{}

void FileBrowser::setFolder(const QUrl &folder)
{
    const QString path = QDir::cleanPath(folder.toLocalFile());
    if (!folder.isLocalFile() || !QFileInfo(path).isDir())
        return;
    setProblem({});
    if (const QUrl cleaned = QUrl::fromLocalFile(path); m_folder != cleaned) {
        m_folder = cleaned;
        Q_EMIT folderChanged();
    }
}

QString FileBrowser::path() const
{
    return m_folder.toLocalFile();
}

bool FileBrowser::canGoUp() const
{
    return !QDir(path()).isRoot();
}

void FileBrowser::goUp()
{
    if (canGoUp())
        setFolder(QUrl::fromLocalFile(QFileInfo(path()).path()));
}

void FileBrowser::submit(const QString &text)
{
    QString path = text;
    if (path == u'~' || path.startsWith("~/"_L1))
        path.replace(0, 1, QDir::homePath());
    const QFileInfo info(QDir(this->path()), path);
    const QUrl url = QUrl::fromLocalFile(info.absoluteFilePath());
    if (info.isDir())
        setFolder(url);
    else if (info.isFile() && !m_picksFolder)
        open(url, false);
    else if (info.exists())
        setProblem(m_picksFolder ? tr("This is not a folder.") : tr("This is not a file."));
    else
        setProblem(tr("There is no such file or folder."));
}

void FileBrowser::open(const QUrl &url, bool isFolder)
{
    setProblem({});
    if (isFolder)
        setFolder(url);
    else if (!m_picksFolder)
        Q_EMIT picked(url);
}

void FileBrowser::pickFolder()
{
    Q_EMIT picked(m_folder);
}

void FileBrowser::setProblem(const QString &problem)
{
    if (std::exchange(m_problem, problem) != problem)
        Q_EMIT problemChanged();
}
