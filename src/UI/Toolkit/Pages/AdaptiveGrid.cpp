#include "UI/Toolkit/Pages/AdaptiveGrid.h"

#include <cmath>

int AdaptiveGrid::columns() const
{
    const qreal fitting = std::floor((m_availableWidth + m_spacing) / (m_minimumColumnWidth + m_spacing));
    return qMax(1, static_cast<int>(fitting));
}

qreal AdaptiveGrid::columnWidth() const
{
    const int count = columns();
    const qreal share = std::floor((m_availableWidth - m_spacing * (count - 1)) / count);
    return qBound(qreal(0), share, m_maximumColumnWidth);
}

void AdaptiveGrid::set(qreal &member, qreal value)
{
    if (qFuzzyCompare(member + 1, value + 1))
        return;
    member = value;
    Q_EMIT changed();
}
