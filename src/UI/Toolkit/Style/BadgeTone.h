#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

/// The colours in which a badge says how things stand.
namespace BadgeTone {
Q_NAMESPACE
QML_ELEMENT

enum class Tone
{
    Neutral,
    Green,
    Yellow,
    Orange,
    Red
};
Q_ENUM_NS(Tone)

} // namespace BadgeTone
