#pragma once

#include <QColor>
#include <QImage>
#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

/// A symbol of the catalogue in one colour, a square as large as a line of text unless it is told its size.
/// Nothing is drawn for an unknown one.
class SymbolItem : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(Symbol)
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged REQUIRED)
    Q_PROPERTY(int size READ size WRITE setSize RESET resetSize NOTIFY sizeChanged)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)

public:
    explicit SymbolItem(QQuickItem *parent = nullptr);

    [[nodiscard]] const QString &name() const { return m_name; }
    void setName(const QString &name);
    [[nodiscard]] int size() const { return m_size; }
    void setSize(int size);
    void resetSize();
    [[nodiscard]] const QColor &color() const { return m_color; }
    void setColor(const QColor &color);

    /// The picture, `extent` pixels wide and high. From 20 device-independent pixels on it is the theme's
    /// 22 px drawing, below it the 16 px one, scaled as vectors. Transparent when the symbol is unknown. GUI
    /// thread.
    [[nodiscard]] static QImage picture(const QString &name, int size, int extent, const QColor &color);

    /// The symbols of `window` come with its second frame: icon themes take their time to come up.
    static void waitForFirstFrame(QQuickWindow &window);

Q_SIGNALS:
    void nameChanged();
    void sizeChanged();
    void colorChanged();

protected:
    void updatePolish() override;
    QSGNode *updatePaintNode(QSGNode *node, UpdatePaintNodeData *data) override;
    void itemChange(ItemChange change, const ItemChangeData &data) override;

private:
    [[nodiscard]] static QPointer<QQuickWindow> &awaited();
    void useSize(int size);
    void followTextSize();

    QString m_name;
    QColor m_color = Qt::black;
    int m_size = 0;
    bool m_hasOwnSize = false;
    QImage m_picture; ///< fetched in the GUI thread, drawn in the render thread
    bool m_isPictureNew = false;
};
