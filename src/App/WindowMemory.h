#pragma once

#include <QHash>
#include <QObject>
#include <QSettings>
#include <QTimer>

class QWindow;

/// Remembers from one run to the next how large windows were and whether they were maximized, in a file of
/// its own (INI). What cannot be read counts as absent, what cannot be written is forgotten. Main thread.
class WindowMemory : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds writeDelay{500};

    explicit WindowMemory(const QString &file, QObject *parent = nullptr);
    ~WindowMemory() override;

    /// Gives a window that has not been shown yet the remembered size, within its screen and its minimum
    /// size, and remembers it under that name from now on.
    void follow(QWindow *window, const QString &name);
    /// Shows a followed window, maximized if it was; one that is open already comes to the front.
    void show(QWindow *window) const;

    bool eventFilter(QObject *object, QEvent *event) override;

private:
    void note(QWindow *window);
    void noteAll();

    QSettings m_settings;
    QHash<QWindow *, QString> m_names;
    QTimer m_writeTimer;
};
