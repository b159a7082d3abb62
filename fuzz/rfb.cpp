#include "RemoteFramebuffer/DisplayConversation.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

namespace {

struct Outcome
{
    std::vector<std::byte> sent;
    std::vector<std::byte> pixels;
    std::vector<std::uint32_t> sizes;
    std::optional<rfb::DisplayConversation::Failure> failure;

    bool operator==(const Outcome &) const = default;
};

void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// Plays the stream to a conversation in pieces of at most `pieceSize` bytes.
Outcome play(std::span<const std::byte> stream, std::size_t pieceSize)
{
    Outcome outcome;
    rfb::DisplayConversation conversation([](std::size_t bytes) {
        require(bytes > rfb::Frame::leadingBytes);
        require(bytes <= rfb::DisplayConversation::maxFrameBytes + rfb::Frame::leadingBytes);
        return rfb::PixelBuffer(bytes);
    });
    while (!stream.empty() && !conversation.failure()) {
        const auto space = conversation.space();
        const std::size_t count = std::min({space.size(), stream.size(), pieceSize});
        require(count > 0);
        std::memcpy(space.data(), stream.data(), count);
        stream = stream.subspan(count);
        conversation.received(count);
        const auto output = conversation.takeOutput();
        outcome.sent.insert(outcome.sent.end(), output.begin(), output.end());
        if (const auto frame = conversation.takeFrame()) {
            const std::size_t size = std::size_t{frame->width} * frame->height * rfb::Frame::bytesPerPixel;
            require(size > 0 && frame->pixels() + size <= frame->buffer.data() + frame->buffer.capacity());
            outcome.pixels.insert(outcome.pixels.end(), frame->pixels(), frame->pixels() + size);
            outcome.sizes.push_back(std::uint32_t{frame->width} << 16 | frame->height);
        }
    }
    outcome.failure = conversation.failure();
    return outcome;
}

} // namespace

/// The first byte says how the rest, a server's stream, is cut; however it is cut, the outcome is to be the
/// same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const auto stream = std::as_bytes(std::span(data + 1, size - 1));
    require(play(stream, stream.size() + 1) == play(stream, std::size_t{data[0]} + 1));
    return 0;
}
