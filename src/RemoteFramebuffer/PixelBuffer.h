#pragma once

#include <cstddef>

namespace rfb {

/// Page-aligned memory for one frame. A page becomes resident when it is first written to, so that a large
/// buffer of which little is used costs little.
class PixelBuffer
{
public:
    /// Without memory.
    PixelBuffer() = default;
    /// At least `bytes`, which must not be 0; without memory when the host has none left.
    explicit PixelBuffer(std::size_t bytes);
    PixelBuffer(PixelBuffer &&other) noexcept;
    PixelBuffer &operator=(PixelBuffer &&other) noexcept;
    ~PixelBuffer();

    [[nodiscard]] std::byte *data() const { return m_data; }
    /// Bytes, whole pages.
    [[nodiscard]] std::size_t capacity() const { return m_capacity; }
    explicit operator bool() const { return m_data != nullptr; }

private:
    std::byte *m_data = nullptr;
    std::size_t m_capacity = 0;
};

} // namespace rfb
