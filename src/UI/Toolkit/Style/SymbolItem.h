#pragma once

#include <QColor>
#include <QImage>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

/// One of our own drawings (folder "symbols") in one colour, a square as large as a line of text unless it is
/// told its size. An icon theme's would not do: in one that is in wide use "list-remove" is a cross and not a
/// minus. Nothing but a warning comes of an unknown name.
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

    /// The picture, `extent` pixels wide and high; transparent when the symbol is unknown. GUI thread.
    [[nodiscard]] static QImage picture(const QString &name, int extent, const QColor &color);

Q_SIGNALS:
    void nameChanged();
    void sizeChanged();
    void colorChanged();

protected:
    void updatePolish() override;
    QSGNode *updatePaintNode(QSGNode *node, UpdatePaintNodeData *data) override;
    void itemChange(ItemChange change, const ItemChangeData &data) override;

private:
    void useSize(int size);
    void followTextSize();

    QString m_name;
    QColor m_color = Qt::black;
    int m_size = 0;
    bool m_hasOwnSize = false;
    QImage m_picture; ///< fetched in the GUI thread, drawn in the render thread
    bool m_isPictureNew = false;
};
