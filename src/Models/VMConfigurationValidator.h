#pragma once

#include "Models/VMConfiguration.h"
#include "Platform/LocalizedError.h"

/// Both ends included.
template<typename Value>
struct ClosedRange
{
    Value minimum{};
    Value maximum{};

    [[nodiscard]] bool contains(Value value) const { return minimum <= value && value <= maximum; }
    bool operator==(const ClosedRange &) const = default;
};

class VMConfigurationValidationError final : public LocalizedError
{
public:
    [[nodiscard]] static VMConfigurationValidationError invalidCPUCount(qint64 value, qint64 minimum,
                                                                        qint64 maximum);
    /// All three in bytes.
    [[nodiscard]] static VMConfigurationValidationError invalidMemory(quint64 value, quint64 minimum,
                                                                      quint64 maximum);
    [[nodiscard]] static VMConfigurationValidationError invalidDiskSize();
    [[nodiscard]] static VMConfigurationValidationError emptyName();
    [[nodiscard]] static VMConfigurationValidationError virtualizationUnavailable();

private:
    using LocalizedError::LocalizedError;
};

namespace VMConfigurationValidator {

/// Throws the first VMConfigurationValidationError found: name, then processors and memory by backend, then
/// disk.
void validate(const VMConfiguration &configuration);
/// The hypervisor layer's limits.
[[nodiscard]] ClosedRange<qint64> allowedCPUCountRange();
[[nodiscard]] ClosedRange<quint64> allowedMemoryRange(); ///< bytes

} // namespace VMConfigurationValidator
