#include "RemoteFramebuffer/DisplayConversation.h"
#include "RemoteFramebuffer/ScreenConversation.h"
#include "Require.h"

#include <algorithm>
#include <array>
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

struct ScreenOutcome
{
    std::vector<std::byte> sent;
    std::vector<rfb::Rectangle> changed;
    std::vector<rfb::CursorShape> cursors;
    std::vector<std::byte> firstRows;
    std::optional<rfb::ScreenConversation::Failure> failure;

    bool operator==(const ScreenOutcome &) const = default;
};

void use(rfb::ScreenConversation &conversation, ScreenOutcome &outcome)
{
    const auto output = conversation.takeOutput();
    outcome.sent.insert(outcome.sent.end(), output.begin(), output.end());
    if (auto cursor = conversation.takeCursor()) {
        require(cursor->pixels.size() == std::size_t{cursor->width} * cursor->height * 4);
        outcome.cursors.push_back(std::move(*cursor));
    }
    const auto update = conversation.takeUpdate();
    if (!update)
        return;
    conversation.requestUpdate();
    require(update->changed.size() <= rfb::ScreenConversation::maxChangedAreas);
    for (const rfb::Rectangle &area : update->changed) {
        require(area.x + area.width <= update->framebuffer->width);
        require(area.y + area.height <= update->framebuffer->height);
    }
    outcome.changed.insert(outcome.changed.end(), update->changed.begin(), update->changed.end());
}

/// The same for a client that keeps the screen, into up to `pieces` places at once.
ScreenOutcome playScreen(std::span<const std::byte> stream, std::size_t pieces, std::size_t pieceSize)
{
    ScreenOutcome outcome;
    rfb::ScreenConversation conversation;
    while (!stream.empty() && !conversation.failure()) {
        std::array<std::span<std::byte>, 16> places;
        const std::size_t placeCount = conversation.spaces(std::span(places).first(pieces));
        std::size_t received = 0;
        for (const auto place : std::span(places).first(placeCount)) {
            require(!place.empty());
            const std::size_t count =
                std::min({place.size(), stream.size() - received, pieceSize - received});
            if (count > 0)
                std::memcpy(place.data(), stream.data() + received, count);
            received += count;
        }
        require(received > 0);
        stream = stream.subspan(received);
        conversation.received(received);
        use(conversation, outcome);
    }
    if (const auto &screen = conversation.framebuffer()) {
        const std::size_t bytes = std::min<std::size_t>(screen->bytesPerRow() * screen->height, 4096);
        outcome.firstRows.assign(screen->pixels.data(), screen->pixels.data() + bytes);
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
    const Outcome whole = play(stream, stream.size() + 1);
    const ScreenOutcome wholeScreen = playScreen(stream, 16, stream.size() + 1);
    for (const std::size_t pieceSize : {std::size_t{1}, std::size_t{data[0]} + 1}) {
        require(play(stream, pieceSize) == whole);
        require(playScreen(stream, 1 + data[0] % 4, pieceSize) == wholeScreen);
    }
    return 0;
}
