#pragma once

#include <QFileSystemWatcher>
#include <QTimer>

struct VMConfiguration;

/// Says when to look for guests that another process of this user may have started. Main thread.
class GuestWatch : public QObject
{
    Q_OBJECT

public:
    /// `folder`: where the processes of one user tell each other; empty where they do not.
    explicit GuestWatch(const QString &folder);

    static constexpr int mostLooks = 120;

    /// Whether the machine may have a guest, or its processes have left something. Two looks at the disk.
    [[nodiscard]] static bool hasTraces(const VMConfiguration &configuration);
    /// Tells the other processes that a guest has been started.
    void announceStart() const;
    /// Twice a second for a minute, until something new happens.
    void lookAgainSoon();
    void noteNews() { m_looksLeft = mostLooks; }

Q_SIGNALS:
    void timeToLook();

private:
    QString m_folder;
    QFileSystemWatcher m_watcher;
    QTimer m_again;
    int m_looksLeft = mostLooks;
};
