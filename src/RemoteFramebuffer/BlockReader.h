#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace rfb {

/// Cuts a byte stream into blocks of known length and tells where each block's bytes belong, so that whoever
/// owns the stream receives them in place. A block is complete before the next one is asked for.
class BlockReader
{
public:
    static constexpr std::size_t maxStagedBytes = 256;

    /// Rows of equal length in memory that outlives their being read.
    struct Rows
    {
        std::byte *first = nullptr;
        std::size_t count = 0;
        std::size_t bytes = 0;
        /// From the start of one row to the start of the next.
        std::size_t stride = 0;
    };

    /// Next comes a block of at most maxStagedBytes, to be read from block().
    void expect(std::size_t count);
    /// Next comes a block that belongs in `target`, which outlives it.
    void expectInto(std::span<std::byte> target);
    /// Next comes one row after the other.
    void expectRows(const Rows &rows);
    /// Next come `count` bytes that nobody wants.
    void skip(std::uint64_t count);

    /// Where the next bytes belong; empty only when the block is complete.
    [[nodiscard]] std::span<std::byte> space();
    /// The same for as many pieces as `spaces` can hold; returns how many there are.
    [[nodiscard]] std::size_t spaces(std::span<std::span<std::byte>> spaces);
    /// `count` bytes were put into space(), or one after the other into spaces().
    void received(std::size_t count);
    [[nodiscard]] bool isComplete() const { return m_missing == 0 && m_rows.count == 0; }

    /// The last block asked for with expect(), once complete.
    [[nodiscard]] std::span<const std::byte> block() const { return {m_staged.data(), m_stagedSize}; }

private:
    void nextRow();

    enum class Destination : std::uint8_t
    {
        Target,
        Nowhere
    };

    std::array<std::byte, maxStagedBytes> m_staged{};
    std::size_t m_stagedSize = 0;
    Destination m_destination = Destination::Target;
    std::byte *m_target = nullptr;
    std::uint64_t m_missing = 0;
    /// Those that follow the one being read.
    Rows m_rows;
    std::vector<std::byte> m_waste;
};

} // namespace rfb
