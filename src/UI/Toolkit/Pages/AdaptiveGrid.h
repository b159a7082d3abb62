#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

/// As many equal columns as fit into a width, each between a minimum and a maximum. Lengths in pixels.
class AdaptiveGrid : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(qreal availableWidth MEMBER m_availableWidth WRITE setAvailableWidth NOTIFY changed)
    Q_PROPERTY(
        qreal minimumColumnWidth MEMBER m_minimumColumnWidth WRITE setMinimumColumnWidth NOTIFY changed)
    Q_PROPERTY(
        qreal maximumColumnWidth MEMBER m_maximumColumnWidth WRITE setMaximumColumnWidth NOTIFY changed)
    Q_PROPERTY(qreal spacing MEMBER m_spacing WRITE setSpacing NOTIFY changed)
    Q_PROPERTY(int columns READ columns NOTIFY changed)
    Q_PROPERTY(qreal columnWidth READ columnWidth NOTIFY changed)

public:
    void setAvailableWidth(qreal width) { set(m_availableWidth, width); }
    void setMinimumColumnWidth(qreal width) { set(m_minimumColumnWidth, width); }
    void setMaximumColumnWidth(qreal width) { set(m_maximumColumnWidth, width); }
    void setSpacing(qreal spacing) { set(m_spacing, spacing); }

    /// At least one.
    [[nodiscard]] int columns() const;
    /// Whole pixels; below the minimum only where not even one column fits.
    [[nodiscard]] qreal columnWidth() const;

Q_SIGNALS:
    void changed();

private:
    void set(qreal &member, qreal value);

    qreal m_availableWidth = 0;
    qreal m_minimumColumnWidth = 320;
    qreal m_maximumColumnWidth = 420;
    qreal m_spacing = 16;
};
