#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

/// Base of every error that a person may read. Areas derive one final class each, with a `Case` where
/// somebody branches on it.
class LocalizedError : public std::exception
{
public:
    LocalizedError(const QString &description);

    /// The sentence to show, complete as it stands.
    [[nodiscard]] const QString &localizedDescription() const { return m_description; }
    /// The same text in UTF-8.
    [[nodiscard]] const char *what() const noexcept override { return m_utf8.constData(); }

private:
    QString m_description;
    QByteArray m_utf8;
};

/// The text to show for an exception of any origin.
[[nodiscard]] QString localizedDescription(const std::exception &error);
/// The text of the exception being handled; to be called inside a catch block.
[[nodiscard]] QString currentExceptionDescription();
