#pragma once

#include <QByteArray>
#include <QJsonObject>

#include <optional>

/// The wire of the QEMU Machine Protocol (QEMU's qmp-spec.txt): one JSON object a line, both ways.
namespace QMPMessages {

/// {"execute":"NAME"}, with "arguments" where given; `name` is put in as it is.
[[nodiscard]] QByteArray command(const QString &name, const QJsonObject &arguments = {});

/// Cuts the emulator's byte stream into messages. Any one thread.
class Reader
{
public:
    static constexpr qsizetype maximumLineBytes = 1 << 20;

    void append(QByteArrayView bytes) { m_buffer.append(bytes); }
    /// The next whole message; no value when more bytes are needed or the stream is malformed.
    [[nodiscard]] std::optional<QJsonObject> next();
    /// A line that is no JSON object, or too long a one, came; nothing more is read.
    [[nodiscard]] bool isMalformed() const { return m_isMalformed; }

private:
    QByteArray m_buffer;
    bool m_isMalformed = false;
};

} // namespace QMPMessages
