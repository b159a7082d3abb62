#include "RemoteFramebuffer/DisplayConversation.h"

#include "RemoteFramebuffer/BigEndian.h"
#include "RemoteFramebuffer/ClientMessages.h"

#include <algorithm>
#include <array>
#include <utility>

namespace rfb {

DisplayConversation::DisplayConversation(BufferSource bufferSource, Purpose purpose)
    : m_bufferSource(std::move(bufferSource))
    , m_purpose(purpose)
{
    expect(State::ProtocolVersion, protocolVersion().size());
}

void DisplayConversation::received(std::size_t count)
{
    m_finished.reset();
    m_reader.received(count);
    while (m_reader.isComplete() && !m_failure)
        advance();
}

std::vector<std::byte> DisplayConversation::takeOutput()
{
    return std::exchange(m_output, {});
}

std::optional<Frame> DisplayConversation::takeFrame()
{
    return std::exchange(m_finished, std::nullopt);
}

std::optional<DisplayConversation::ScreenSize> DisplayConversation::takeScreenSize()
{
    return std::exchange(m_screenSize, std::nullopt);
}

void DisplayConversation::advance()
{
    switch (m_state) {
    case State::ProtocolVersion:
        send(protocolVersion());
        return expect(State::SecurityTypeCount, 1);
    case State::SecurityTypeCount:
        return expect(State::SecurityTypes, std::to_integer<std::size_t>(m_reader.block()[0]));
    case State::SecurityTypes:
        return chooseSecurityType();
    case State::SecurityResult:
        if (readUint32(m_reader.block().first<4>()) != 0)
            return fail(Failure::AuthenticationFailed);
        send(clientInit(DesktopSharing::Shared));
        return expect(State::ServerInit, ServerInit::size);
    case State::ServerInit:
        return readServerInit();
    case State::DesktopName:
        return startUpdates();
    case State::MessageType:
        return readMessageType();
    case State::MessageHeader:
        return readMessageHeader();
    case State::SkippedBody:
        return expect(State::MessageType, 1);
    case State::RectangleHeader:
        return readRectangleHeader();
    case State::PixelData:
        return skip(State::PixelDataRest, m_pixelDataRest);
    case State::PixelDataRest:
        return finishRectangle();
    }
}

void DisplayConversation::expect(State state, std::size_t count)
{
    m_state = state;
    m_reader.expect(count);
}

void DisplayConversation::skip(State state, std::uint64_t count)
{
    m_state = state;
    m_reader.skip(count);
}

void DisplayConversation::send(std::span<const std::byte> message)
{
    m_output.insert(m_output.end(), message.begin(), message.end());
}

void DisplayConversation::fail(Failure failure)
{
    m_failure = failure;
}

void DisplayConversation::chooseSecurityType()
{
    const auto offered = m_reader.block();
    if (std::ranges::find(offered, static_cast<std::byte>(SecurityType::None)) == offered.end())
        return fail(Failure::NoSupportedSecurityType);
    send(securityChoice(SecurityType::None));
    expect(State::SecurityResult, 4);
}

void DisplayConversation::readServerInit()
{
    m_init = ServerInit::parse(m_reader.block().first<ServerInit::size>());
    skip(State::DesktopName, m_init.nameLength);
}

void DisplayConversation::startUpdates()
{
    if (m_purpose == Purpose::SizeWatch) {
        send(setEncodings(std::array{Encoding::DesktopSize}));
        m_screenSize = ScreenSize{m_init.width, m_init.height};
    } else {
        send(setEncodings(std::array{Encoding::Raw}));
    }
    awaitUpdate();
}

void DisplayConversation::awaitUpdate()
{
    if (m_purpose == Purpose::Display)
        send(framebufferUpdateRequest(UpdateKind::Full, {.width = m_init.width, .height = m_init.height}));
    expect(State::MessageType, 1);
}

void DisplayConversation::readMessageType()
{
    m_message = static_cast<ServerMessage>(m_reader.block()[0]);
    expect(State::MessageHeader, headerSize(m_message));
}

void DisplayConversation::readMessageHeader()
{
    const auto header = m_reader.block();
    switch (m_message) {
    case ServerMessage::FramebufferUpdate:
        m_rectanglesLeft = rectangleCount(header.first<3>());
        if (m_rectanglesLeft == 0)
            return awaitUpdate();
        return expect(State::RectangleHeader, RectangleHeader::size);
    case ServerMessage::SetColourMapEntries:
        return skip(State::SkippedBody, colourMapSize(header.first<5>()));
    case ServerMessage::ServerCutText:
        return skip(State::SkippedBody, cutTextSize(header.first<7>()));
    case ServerMessage::Bell:
        break;
    }
    expect(State::MessageType, 1);
}

void DisplayConversation::readRectangleHeader()
{
    const auto [area, encoding] = RectangleHeader::parse(m_reader.block().first<RectangleHeader::size>());
    m_receiving = {};
    const bool isSize = encoding == static_cast<std::int32_t>(Encoding::DesktopSize);
    if (m_purpose == Purpose::SizeWatch && isSize) {
        m_screenSize = ScreenSize{area.width, area.height};
        return finishRectangle();
    }

    const std::uint64_t pixelCount = std::uint64_t{area.width} * area.height;
    const std::uint64_t sentPerPixel =
        std::max<std::uint64_t>(Frame::bytesPerPixel, m_init.format.bitsPerPixel / 8);
    const std::uint64_t frameBytes = pixelCount * Frame::bytesPerPixel;

    if (m_purpose == Purpose::Display && pixelCount > 0 && frameBytes <= maxFrameBytes) {
        m_receiving = {
            .buffer = m_bufferSource(Frame::bufferSize(area.width, area.height)),
            .width = area.width,
            .height = area.height,
            .layout = pixelLayout(m_init.format),
        };
    }
    if (!m_receiving.buffer)
        return skip(State::PixelDataRest, pixelCount * sentPerPixel);
    // A frame takes its rows from the start of the data, also where the server sends more than four bytes a
    // pixel.
    m_pixelDataRest = pixelCount * sentPerPixel - frameBytes;
    m_state = State::PixelData;
    m_reader.expectInto({m_receiving.pixels(), static_cast<std::size_t>(frameBytes)});
}

void DisplayConversation::finishRectangle()
{
    if (m_receiving.buffer)
        m_finished = std::move(m_receiving);
    --m_rectanglesLeft;
    if (m_rectanglesLeft == 0)
        return awaitUpdate();
    expect(State::RectangleHeader, RectangleHeader::size);
}

} // namespace rfb
