#include "Platform/Emulator/ProcessorKinds.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <map>
#include <optional>

namespace ProcessorKinds {

namespace {

/// Implementer and part number of a main ID register (Arm Architecture Reference Manual, MIDR_EL1): revisions
/// of one part do for one another.
constexpr unsigned long partMask = 0xff00fff0UL;

struct Kind
{
    unsigned long capacity = 0; ///< of its strongest processor; 0 where the kernel says nothing
    std::vector<int> processors;
};

std::optional<unsigned long> number(const std::filesystem::path &file)
{
    std::ifstream stream(file);
    unsigned long value = 0;
    stream >> std::setbase(0) >> value;
    return stream ? std::optional(value) : std::nullopt;
}

std::optional<int> processorNumber(const std::string &name)
{
    int result = 0;
    const char *end = name.data() + name.size();
    if (!name.starts_with("cpu") || std::from_chars(name.data() + 3, end, result).ptr != end ||
        name.size() == 3)
        return std::nullopt;
    return result;
}

} // namespace

std::vector<int> strongest(const std::string &folder)
{
    std::map<unsigned long, Kind> kinds;
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(folder, error)) {
        const std::optional<int> processor = processorNumber(entry.path().filename());
        // One that is offline has none.
        const std::optional<unsigned long> identity = number(entry.path() / "regs/identification/midr_el1");
        if (!processor || !identity)
            continue;
        Kind &kind = kinds[*identity & partMask];
        kind.capacity = std::max(kind.capacity, number(entry.path() / "cpu_capacity").value_or(0));
        kind.processors.push_back(*processor);
    }
    if (kinds.size() < 2)
        return {};
    const auto best = std::ranges::max_element(kinds, {}, [](const auto &kind) {
        return std::pair(kind.second.capacity, kind.second.processors.size());
    });
    std::ranges::sort(best->second.processors);
    return best->second.processors;
}

StrongestOnly::StrongestOnly(const std::vector<int> &processors)
{
    if (processors.empty() || ::sched_getaffinity(0, sizeof m_before, &m_before) != 0)
        return;
    cpu_set_t limited{};
    for (const int processor : processors)
        if (processor < CPU_SETSIZE && CPU_ISSET(processor, &m_before))
            CPU_SET(processor, &limited);
    m_isLimited = CPU_COUNT(&limited) > 0 && ::sched_setaffinity(0, sizeof limited, &limited) == 0;
}

StrongestOnly::~StrongestOnly()
{
    if (m_isLimited)
        ::sched_setaffinity(0, sizeof m_before, &m_before);
}

} // namespace ProcessorKinds
