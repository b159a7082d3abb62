#pragma once

#include <QList>

#include <algorithm>

/// The middle value, the upper one of the two middle ones where their number is even. `values` is not empty.
[[nodiscard]] inline double median(QList<double> values)
{
    const auto middle = values.begin() + values.size() / 2;
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}
