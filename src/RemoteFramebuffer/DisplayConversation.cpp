#include "RemoteFramebuffer/DisplayConversation.h"

#include "RemoteFramebuffer/ClientMessages.h"

#include <algorithm>
#include <array>
#include <utility>

namespace rfb {

DisplayConversation::DisplayConversation(BufferSource bufferSource, Purpose purpose)
    : m_bufferSource(std::move(bufferSource))
    , m_purpose(purpose)
{}

std::optional<Frame> DisplayConversation::takeFrame()
{
    return std::exchange(m_finished, std::nullopt);
}

std::optional<DisplayConversation::ScreenSize> DisplayConversation::takeScreenSize()
{
    return std::exchange(m_screenSize, std::nullopt);
}

void DisplayConversation::start(const ServerInit &server)
{
    m_server = server;
    if (m_purpose == Purpose::Input) {
        send(setEncodings(std::array{Encoding::DesktopSize, Encoding::ExtendedKey}));
        m_screenSize = ScreenSize{server.width, server.height};
    } else {
        send(setEncodings(std::array{Encoding::Raw}));
    }
    endUpdate();
}

void DisplayConversation::beginRectangle(const RectangleHeader &header)
{
    const auto &[area, encoding] = header;
    m_receiving = {};
    m_pixelDataRest = 0;
    const bool isSize = encoding == static_cast<std::int32_t>(Encoding::DesktopSize);
    if (m_purpose == Purpose::Input && isSize) {
        m_screenSize = ScreenSize{area.width, area.height};
        return endRectangle();
    }

    if (m_purpose == Purpose::Input && encoding == static_cast<std::int32_t>(Encoding::ExtendedKey)) {
        m_takesExtendedKeys = true;
        return endRectangle();
    }

    const std::uint64_t pixelCount = std::uint64_t{area.width} * area.height;
    const std::uint64_t sentPerPixel =
        std::max<std::uint64_t>(Frame::bytesPerPixel, m_server.format.bitsPerPixel / 8);
    const std::uint64_t frameBytes = pixelCount * Frame::bytesPerPixel;

    if (m_purpose == Purpose::Display && pixelCount > 0 && frameBytes <= maxFrameBytes) {
        m_receiving = {
            .buffer = m_bufferSource(Frame::bufferSize(area.width, area.height)),
            .width = area.width,
            .height = area.height,
            .layout = pixelLayout(m_server.format),
        };
    }
    if (!m_receiving.buffer)
        return skipData(pixelCount * sentPerPixel);
    // A frame takes its rows from the start of the data, also where the server sends more than four bytes a
    // pixel.
    m_pixelDataRest = pixelCount * sentPerPixel - frameBytes;
    readInto({m_receiving.pixels(), static_cast<std::size_t>(frameBytes)});
}

void DisplayConversation::continueRectangle()
{
    if (m_pixelDataRest > 0)
        return skipData(std::exchange(m_pixelDataRest, 0));
    if (m_receiving.buffer)
        m_finished = std::move(m_receiving);
    endRectangle();
}

void DisplayConversation::endUpdate()
{
    if (m_purpose == Purpose::Display)
        send(
            framebufferUpdateRequest(UpdateKind::Full, {.width = m_server.width, .height = m_server.height}));
}

} // namespace rfb
