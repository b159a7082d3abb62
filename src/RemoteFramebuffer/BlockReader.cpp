#include "RemoteFramebuffer/BlockReader.h"

#include <algorithm>
#include <cassert>

namespace rfb {

void BlockReader::expect(std::size_t count)
{
    assert(count <= maxStagedBytes);
    expectInto(std::span(m_staged).first(count));
    m_stagedSize = count;
}

void BlockReader::expectInto(std::span<std::byte> target)
{
    assert(isComplete());
    m_destination = Destination::Target;
    m_target = target.data();
    m_missing = target.size();
}

void BlockReader::skip(std::uint64_t count)
{
    assert(isComplete());
    m_destination = Destination::Nowhere;
    m_missing = count;
}

std::span<std::byte> BlockReader::space()
{
    if (m_destination == Destination::Target)
        return {m_target, static_cast<std::size_t>(m_missing)};
    constexpr std::size_t wasteBytes = std::size_t{64} * 1024;
    m_waste.resize(wasteBytes);
    return std::span(m_waste).first(static_cast<std::size_t>(std::min<std::uint64_t>(m_missing, wasteBytes)));
}

void BlockReader::received(std::size_t count)
{
    assert(count <= m_missing);
    m_missing -= count;
    if (m_destination == Destination::Target)
        m_target += count;
}

} // namespace rfb
