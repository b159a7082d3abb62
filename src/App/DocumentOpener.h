#pragma once

#include <QList>
#include <QObject>
#include <QUrl>

class AppState;

/// Opens what a person hands to the application: of a machine's bundle folder the machine's console, of an
/// image the wizard with it as installation medium. Anything else becomes the state's error message. Main
/// thread.
class DocumentOpener : public QObject
{
    Q_OBJECT

public:
    /// `state` must outlive it.
    explicit DocumentOpener(AppState &state, QObject *parent = nullptr);

    /// Local files and folders; they wait until the machines have been loaded.
    void open(const QList<QUrl> &documents);

private:
    void openWaiting();
    void openOne(const QUrl &document);
    void openMachine(const QUrl &bundle);

    AppState &m_state;
    QList<QUrl> m_waiting;
};
