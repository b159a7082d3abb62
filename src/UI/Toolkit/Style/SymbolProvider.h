#pragma once

#include <QQuickImageProvider>

/// Our own drawings (folder "symbols") in one colour: "image://symbol/minus/ff1c1d21", the colour as alpha,
/// red, green and blue in hexadecimal. An icon theme's would not do: in one that is in wide use "list-remove"
/// is a cross and not a minus. An unknown name is transparent, and a warning.
class SymbolProvider : public QQuickImageProvider
{
public:
    SymbolProvider();

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};
