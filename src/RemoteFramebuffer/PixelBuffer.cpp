#include "RemoteFramebuffer/PixelBuffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <utility>

namespace rfb {

static std::size_t wholePages(std::size_t bytes)
{
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    return (bytes + page - 1) / page * page;
}

PixelBuffer::PixelBuffer(std::size_t bytes)
{
    const std::size_t capacity = wholePages(bytes);
    // A mapping of its own: it goes back to the host whole, whatever the heap looks like.
    void *memory =
        ::mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
        return;
    m_data = static_cast<std::byte *>(memory);
    m_capacity = capacity;
}

PixelBuffer::PixelBuffer(PixelBuffer &&other) noexcept
    : m_data(std::exchange(other.m_data, nullptr))
    , m_capacity(std::exchange(other.m_capacity, 0))
{}

PixelBuffer &PixelBuffer::operator=(PixelBuffer &&other) noexcept
{
    std::swap(m_data, other.m_data);
    std::swap(m_capacity, other.m_capacity);
    return *this;
}

PixelBuffer::~PixelBuffer()
{
    if (m_data)
        ::munmap(m_data, m_capacity);
}

} // namespace rfb
