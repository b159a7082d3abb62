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

void BlockReader::expectRows(const Rows &rows)
{
    expectInto({});
    if (rows.bytes == 0)
        return;
    m_rows = rows;
    nextRow();
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

std::size_t BlockReader::spaces(std::span<std::span<std::byte>> spaces)
{
    assert(!spaces.empty());
    spaces[0] = space();
    const std::size_t count = std::min(spaces.size(), 1 + m_rows.count);
    for (std::size_t i = 1; i < count; ++i)
        spaces[i] = {m_rows.first + (i - 1) * m_rows.stride, m_rows.bytes};
    return count;
}

void BlockReader::received(std::size_t count)
{
    while (count > m_missing && m_rows.count > 0) {
        count -= static_cast<std::size_t>(m_missing);
        nextRow();
    }
    assert(count <= m_missing);
    m_missing -= count;
    if (m_destination == Destination::Target)
        m_target += count;
    if (m_missing == 0 && m_rows.count > 0)
        nextRow();
}

void BlockReader::nextRow()
{
    m_target = m_rows.first;
    m_missing = m_rows.bytes;
    if (--m_rows.count > 0)
        m_rows.first += m_rows.stride;
}

} // namespace rfb
