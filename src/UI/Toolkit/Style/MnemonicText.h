#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

/// Texts with a mnemonic ("&File") as something to draw.
class MnemonicText : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// Without the marks; "&&" is an ampersand.
    Q_INVOKABLE [[nodiscard]] static QString plain(const QString &text);
    /// Styled text with the mnemonic underlined.
    Q_INVOKABLE [[nodiscard]] static QString underlined(const QString &text);
};
