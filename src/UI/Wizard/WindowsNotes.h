#pragma once

#include "UI/Components/LabeledValue.h"

#include <QList>
#include <QObject>
#include <QtQml/qqmlregistration.h>

/// What people should know before they install Windows on this host.
class WindowsNotes : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    /// The page's headings, each with its text in Markdown. The first text has no heading.
    Q_PROPERTY(QList<LabeledValue> sections READ sections CONSTANT)
    /// The host's emulator has no TPM that Windows is known to take. False until the emulator has said so.
    Q_PROPERTY(bool lacksTPM READ lacksTPM NOTIFY lacksTPMChanged)

public:
    explicit WindowsNotes(QObject *parent = nullptr);

    [[nodiscard]] static QList<LabeledValue> sections();
    [[nodiscard]] bool lacksTPM() const { return m_lacksTPM; }

Q_SIGNALS:
    void lacksTPMChanged();

private:
    bool m_lacksTPM = false;
};
