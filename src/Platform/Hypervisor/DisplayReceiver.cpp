#include "Platform/Hypervisor/DisplayReceiver.h"

#include "Platform/PlatformError.h"

#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

/// As many rows as fit into what a socket holds of a wide screen.
constexpr std::size_t maxPlaces = 128;
/// Enough for the heads of what follows pixels, and little to copy.
constexpr std::size_t aheadBytes = 4096;

} // namespace

DisplayReceiver::DisplayReceiver(int socket)
    : m_socket(socket)
    , m_ahead(aheadBytes)
{}

bool DisplayReceiver::receive()
{
    const std::shared_ptr<rfb::Framebuffer> framebuffer = m_conversation.framebuffer();
    std::unique_lock<std::mutex> pixels;
    if (framebuffer)
        pixels = std::unique_lock(framebuffer->mutex);
    if (hasReadAhead()) {
        consumeReadAhead();
        return !m_conversation.failure();
    }

    std::array<std::span<std::byte>, maxPlaces> places;
    std::array<iovec, maxPlaces + 1> vectors{};
    const std::size_t placeCount = m_conversation.spaces(places);
    std::size_t wanted = 0;
    for (std::size_t i = 0; i < placeCount; ++i) {
        vectors[i] = {.iov_base = places[i].data(), .iov_len = places[i].size()};
        wanted += places[i].size();
    }
    vectors[placeCount] = {.iov_base = m_ahead.data(), .iov_len = m_ahead.size()};
    // There may be more places than these; then nobody knows what follows.
    const bool readsAhead = placeCount < maxPlaces;
    const ssize_t count =
        ::readv(m_socket, vectors.data(), static_cast<int>(placeCount + (readsAhead ? 1 : 0)));
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return true;
    if (count < 0 && errno != ECONNRESET)
        throw PlatformError(errno, u"read the display"_s);
    if (count <= 0)
        return false;

    const std::size_t inPlace = std::min(static_cast<std::size_t>(count), wanted);
    m_conversation.received(inPlace);
    m_aheadBegin = 0;
    m_aheadEnd = static_cast<std::size_t>(count) - inPlace;
    consumeReadAhead();
    return !m_conversation.failure();
}

void DisplayReceiver::consumeReadAhead()
{
    while (hasReadAhead() && !m_conversation.failure() && !m_conversation.hasUpdate()) {
        const auto place = m_conversation.space();
        const std::size_t part = std::min(place.size(), m_aheadEnd - m_aheadBegin);
        std::memcpy(place.data(), m_ahead.data() + m_aheadBegin, part);
        m_aheadBegin += part;
        m_conversation.received(part);
    }
}
