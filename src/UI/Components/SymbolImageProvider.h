#pragma once

#include <QQuickImageProvider>

/// Pictures of symbols in one colour: "image://symbol/<name>/<size>/<#aarrggbb>". From 20 device-independent
/// pixels on it is the theme's 22 px drawing, below it the 16 px one, scaled as vectors. An unknown symbol is
/// a transparent picture.
class SymbolImageProvider : public QQuickImageProvider
{
public:
    SymbolImageProvider();

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};
