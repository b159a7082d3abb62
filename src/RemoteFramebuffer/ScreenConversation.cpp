#include "RemoteFramebuffer/ScreenConversation.h"

#include "RemoteFramebuffer/BigEndian.h"

#include <algorithm>
#include <array>
#include <utility>

namespace rfb {

namespace {

constexpr std::array encodings{Encoding::Raw,         Encoding::DesktopSize, Encoding::PointerType,
                               Encoding::ExtendedKey, Encoding::AlphaCursor, Encoding::Cursor};

std::uint16_t right(const Rectangle &area)
{
    return static_cast<std::uint16_t>(area.x + area.width);
}

std::uint16_t bottom(const Rectangle &area)
{
    return static_cast<std::uint16_t>(area.y + area.height);
}

Rectangle united(const Rectangle &a, const Rectangle &b)
{
    const std::uint16_t x = std::min(a.x, b.x);
    const std::uint16_t y = std::min(a.y, b.y);
    return {.x = x,
            .y = y,
            .width = static_cast<std::uint16_t>(std::max(right(a), right(b)) - x),
            .height = static_cast<std::uint16_t>(std::max(bottom(a), bottom(b)) - y)};
}

/// Neighbours one below the other, which servers like to send, become one; too many become the one around
/// all.
void add(std::vector<Rectangle> &areas, const Rectangle &area)
{
    if (!areas.empty()) {
        Rectangle &last = areas.back();
        const bool isBelow = last.x == area.x && last.width == area.width && bottom(last) == area.y;
        if (isBelow || last == area) {
            last = united(last, area);
            return;
        }
    }
    areas.push_back(area);
    if (areas.size() <= ScreenConversation::maxChangedAreas)
        return;
    Rectangle whole = area;
    for (const Rectangle &changed : areas)
        whole = united(whole, changed);
    areas = {whole};
}

/// One bit a pixel, each row begins with a new byte (RFC 6143, section 7.8.1).
std::size_t maskBytesPerRow(std::uint16_t width)
{
    return (width + std::size_t{7}) / 8;
}

} // namespace

std::optional<ScreenConversation::Update> ScreenConversation::takeUpdate()
{
    return std::exchange(m_update, std::nullopt);
}

std::optional<CursorShape> ScreenConversation::takeCursor()
{
    return std::exchange(m_cursor, std::nullopt);
}

void ScreenConversation::requestUpdate()
{
    request(UpdateKind::Incremental);
}

void ScreenConversation::start(const ServerInit &server)
{
    if (pixelLayout(server.format) != PixelLayout::BGRX)
        return fail(Failure::UnsupportedPixelFormat);
    send(setEncodings(encodings));
    resize(server.width, server.height);
    if (!failure())
        request(UpdateKind::Full);
}

void ScreenConversation::resize(std::uint16_t width, std::uint16_t height)
{
    auto framebuffer = std::make_shared<Framebuffer>();
    const std::uint64_t bytes = std::uint64_t{width} * height * Framebuffer::bytesPerPixel;
    if (bytes > 0 && bytes <= maxScreenBytes)
        framebuffer->pixels = PixelBuffer(static_cast<std::size_t>(bytes));
    if (bytes > 0 && !framebuffer->pixels)
        return fail(Failure::ScreenTooLarge);
    framebuffer->width = width;
    framebuffer->height = height;
    m_framebuffer = std::move(framebuffer);
    m_changed.clear();
    add(m_changed, {.width = width, .height = height});
    // What the server believes to have been sent was sent for the other size.
    m_needsWholeScreen = true;
}

void ScreenConversation::beginRectangle(const RectangleHeader &header)
{
    const Rectangle &area = header.area;
    switch (static_cast<Encoding>(header.encoding)) {
    case Encoding::Raw:
        return beginPixels(area);
    case Encoding::DesktopSize:
        resize(area.width, area.height);
        return failure() ? void() : endRectangle();
    case Encoding::PointerType:
        m_isPointerAbsolute = area.x != 0;
        return endRectangle();
    case Encoding::ExtendedKey:
        m_takesExtendedKeys = true;
        return endRectangle();
    case Encoding::AlphaCursor:
        return beginCursor(area, Reading::AlphaCursorEncoding);
    case Encoding::Cursor:
        return beginCursor(area, Reading::Cursor);
    }
    fail(Failure::ProtocolViolation);
}

void ScreenConversation::beginPixels(const Rectangle &area)
{
    if (std::uint32_t{area.x} + area.width > m_framebuffer->width ||
        std::uint32_t{area.y} + area.height > m_framebuffer->height)
        return fail(Failure::ProtocolViolation);
    if (area.width == 0 || area.height == 0)
        return endRectangle();
    m_reading = Reading::Pixels;
    m_hasNewPixels = true;
    add(m_changed, area);
    const std::size_t stride = m_framebuffer->bytesPerRow();
    std::byte *first = m_framebuffer->pixels.data() + area.y * stride + area.x * Framebuffer::bytesPerPixel;
    if (area.width == m_framebuffer->width)
        return readInto({first, area.height * stride});
    readRows({.first = first,
              .count = area.height,
              .bytes = area.width * Framebuffer::bytesPerPixel,
              .stride = stride});
}

void ScreenConversation::beginCursor(const Rectangle &area, Reading reading)
{
    if (area.width > maxCursorSize || area.height > maxCursorSize)
        return fail(Failure::ProtocolViolation);
    m_receivedCursor = {
        .width = area.width, .height = area.height, .hotX = area.x, .hotY = area.y, .pixels = {}};
    m_reading = reading;
    if (reading == Reading::AlphaCursorEncoding)
        return readBlock(sizeof(std::int32_t));
    readCursorPixels(maskBytesPerRow(area.width) * area.height);
}

void ScreenConversation::readCursorPixels(std::size_t maskBytes)
{
    const std::size_t pixelBytes =
        std::size_t{m_receivedCursor.width} * m_receivedCursor.height * Framebuffer::bytesPerPixel;
    m_receivedCursor.pixels.resize(pixelBytes + maskBytes);
    readInto(m_receivedCursor.pixels);
}

void ScreenConversation::continueRectangle()
{
    switch (m_reading) {
    case Reading::Pixels:
        return endRectangle();
    case Reading::AlphaCursorEncoding:
        if (readUint32(block().first<4>()) != static_cast<std::uint32_t>(Encoding::Raw))
            return fail(Failure::ProtocolViolation);
        m_reading = Reading::AlphaCursor;
        return readCursorPixels(0);
    case Reading::Cursor:
        applyMask();
        break;
    case Reading::AlphaCursor:
        break;
    }
    m_cursor = std::exchange(m_receivedCursor, {});
    endRectangle();
}

/// The mask behind the pixels becomes their alpha.
void ScreenConversation::applyMask()
{
    CursorShape &cursor = m_receivedCursor;
    const std::size_t pixelBytes = std::size_t{cursor.width} * cursor.height * Framebuffer::bytesPerPixel;
    const std::span<std::byte> pixels = std::span(cursor.pixels).first(pixelBytes);
    const std::span<const std::byte> mask = std::span(cursor.pixels).subspan(pixelBytes);
    for (std::size_t y = 0; y < cursor.height; ++y) {
        for (std::size_t x = 0; x < cursor.width; ++x) {
            const std::byte bits = mask[y * maskBytesPerRow(cursor.width) + x / 8];
            const bool isVisible = (bits & std::byte{0x80} >> (x % 8)) != std::byte{0};
            const auto pixel = pixels.subspan((y * cursor.width + x) * Framebuffer::bytesPerPixel).first<4>();
            if (isVisible)
                pixel[3] = std::byte{0xff};
            else
                std::ranges::fill(pixel, std::byte{0});
        }
    }
    cursor.pixels.resize(pixelBytes);
}

void ScreenConversation::endUpdate()
{
    // A server tells of pointers, sizes and keys in updates of their own, and some take these for the answer.
    if (!std::exchange(m_hasNewPixels, false))
        return request(UpdateKind::Incremental);
    if (!m_update || m_update->framebuffer != m_framebuffer)
        m_update = Update{.framebuffer = m_framebuffer, .changed = {}};
    for (const Rectangle &area : std::exchange(m_changed, {}))
        add(m_update->changed, area);
}

void ScreenConversation::request(UpdateKind kind)
{
    if (std::exchange(m_needsWholeScreen, false))
        kind = UpdateKind::Full;
    send(framebufferUpdateRequest(kind, {.width = m_framebuffer->width, .height = m_framebuffer->height}));
}

} // namespace rfb
