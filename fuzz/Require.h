#pragma once

#include <cstdlib>

/// What a fuzzer takes for a fault when it does not hold.
inline void require(bool condition)
{
    if (!condition)
        std::abort();
}
