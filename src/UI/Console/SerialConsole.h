#pragma once

#include "UI/Console/TerminalText.h"

#include <QObject>
#include <QTimer>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

/// What a machine's guest says on its serial line, as a terminal shows it. The emulator writes it to a file,
/// which begins anew with each start.
class SerialConsole : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QUrl file READ file WRITE setFile NOTIFY fileChanged)
    /// The file is looked at only while this is true.
    Q_PROPERTY(bool active READ isActive WRITE setActive NOTIFY activeChanged)
    Q_PROPERTY(QString text READ text NOTIFY textChanged)

public:
    explicit SerialConsole(QObject *parent = nullptr);

    [[nodiscard]] QUrl file() const { return m_file; }
    void setFile(const QUrl &file);
    [[nodiscard]] bool isActive() const { return m_look.isActive(); }
    void setActive(bool isActive);
    [[nodiscard]] QString text() const { return m_text; }

Q_SIGNALS:
    void fileChanged();
    void activeChanged();
    void textChanged();

private:
    void look();
    void forget();
    void setText(const QString &text);

    QUrl m_file;
    QTimer m_look;
    TerminalText m_terminal;
    qint64 m_position = 0; ///< in the file
    QString m_text;
};
