#include "UI/Console/SerialConsole.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/PlatformError.h"

namespace {

// Of more the beginning is left out: it would be out of the terminal's history soon.
constexpr qint64 maximumBytes = qint64{256} << 10;

} // namespace

SerialConsole::SerialConsole(QObject *parent)
    : QObject(parent)
{
    using namespace std::chrono_literals;
    m_look.setInterval(500ms);
    connect(&m_look, &QTimer::timeout, this, &SerialConsole::look);
}

void SerialConsole::setFile(const QUrl &file)
{
    if (m_file == file)
        return;
    m_file = file;
    forget();
    Q_EMIT fileChanged();
    if (isActive())
        look();
}

void SerialConsole::setActive(bool isActive)
{
    if (m_look.isActive() == isActive)
        return;
    if (isActive) {
        forget(); // it may be another file by now
        m_look.start();
        look();
    } else {
        m_look.stop();
    }
    Q_EMIT activeChanged();
}

void SerialConsole::look()
{
    try {
        const FileManager::Tail tail =
            FileManager::defaultManager().readTail(FileUrl::path(m_file), m_position, maximumBytes);
        if (tail.begin == m_position && tail.bytes.isEmpty())
            return;
        if (tail.begin != m_position)
            m_terminal.reset();
        m_terminal.feed(tail.bytes);
        m_position = tail.begin + tail.bytes.size();
        setText(m_terminal.text());
    } catch (const PlatformError &) {
        forget(); // before the first start there is none
    }
}

void SerialConsole::forget()
{
    m_terminal.reset();
    m_position = 0;
    setText(QString());
}

void SerialConsole::setText(const QString &text)
{
    if (m_text == text)
        return;
    m_text = text;
    Q_EMIT textChanged();
}
