#pragma once

#include "Models/VMConfigurationValidator.h"

#include <algorithm>

/// A number that a stepper moves by one within a range. It may start outside: then a step leads to the
/// range's nearest end, and a step further away is not possible.
struct SteppedValue
{
    qint64 value = 0;
    ClosedRange<qint64> range;

    [[nodiscard]] bool canDecrease() const { return value > range.minimum; }
    [[nodiscard]] bool canIncrease() const { return value < range.maximum; }
    [[nodiscard]] qint64 decreased() const
    {
        return canDecrease() ? std::min(value - 1, range.maximum) : value;
    }
    [[nodiscard]] qint64 increased() const
    {
        return canIncrease() ? std::max(value + 1, range.minimum) : value;
    }
};
